// Fault injection and call recording for the tests. The test executable
// defines malloc, calloc, realloc and the file system calls the library
// makes, so that the library's calls reach these definitions before libc's.
// Disarmed, they only forward to libc. Armed, they count the calls of one
// kind that the arming thread makes and make the k-th fail. Observed, they
// report the thread's calls that change the file system, or sync or open a
// file, to an observer once they returned.
#pragma once

namespace fault {

enum class Kind : int {
    kOff,        // nothing is counted or failed
    kAlloc,      // malloc, calloc, realloc: null with ENOMEM
    kIo,         // file system calls: -1 with the armed errno (close still closes)
    kShortWrite, // write and pwrite of 2 bytes or more: half written, short count
};

// What happened while armed. It lives where the arming code puts it, so that
// a forked child can leave it to its parent even when it crashes.
struct Record {
    long calls = 0;               // calls of the armed kind so far
    const char *failed = nullptr; // the call made to fail (a static name)
    bool committed = false;       // the target was renamed or linked into place
    bool failedAfterCommit = false;
};

// Arms the calling thread: its k-th call (from 1) of kind fails with error.
// A successful rename or link onto the name target (its last path component)
// counts as the commit.
void Arm(Kind kind, long k, int error, const char *target, Record *record) noexcept;
void Disarm() noexcept;

// While on, opening an unnamed file (O_TMPFILE) fails with EOPNOTSUPP, as on
// a file system without them; such opens are not counted.
void RefuseUnnamedFiles(bool refuse) noexcept;

// A call as it was passed on, with what it returned. Paths are relative to
// their directory descriptor (AT_FDCWD for the calls that take none). What
// the call changed, the observer finds on the file system.
struct Call {
    const char *name; // the function, e.g. "renameat" (a static name)
    int fd = -1;      // the descriptor acted on, or the directory of path
    const char *path = nullptr;
    int fd2 = -1; // link and rename: the directory of path2
    const char *path2 = nullptr;
    int flags = 0;        // open: its flags
    long long result = 0; // open: the new descriptor
};

class Observer {
public:
    virtual void Saw(const Call &call) noexcept = 0;

protected:
    ~Observer() = default;
};

// Reports the calling thread's calls to observer from now on; nullptr stops
// the reports. The file system and allocation calls the observer makes
// while it is called are neither reported nor counted for a fault.
void Observe(Observer *observer) noexcept;

} // namespace fault
