// Fault injection for the tests. The test executable defines malloc, calloc,
// realloc and the file system calls the library makes, so that the library's
// calls reach these definitions before libc's. Disarmed, they only forward to
// libc. Armed, they count the calls of one kind that the arming thread makes
// and make the k-th fail.
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

} // namespace fault
