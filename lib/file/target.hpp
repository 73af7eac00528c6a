// Opening configuration files safely: only regular files, never blocking,
// and, for writers, through symbolic links to the real file, under an
// exclusive lock that serialises writers across threads and processes.
#pragma once

#include "internal.hpp"
#include "status.hpp"

#include <climits>
#include <sys/stat.h>

namespace velkc {

enum class Links { kFollow, kNoFollow };

// Opens name (relative to dirfd, or a path with AT_FDCWD) with flags when it
// is a regular file. Anything else is refused before it is opened, so that
// a FIFO cannot block the call and a device never sees an open; the type is
// checked again on the open descriptor. ERR_OPEN_FAILED on any failure.
Status OpenRegular(int dirfd, const char *name, int flags, Links links, UniqueFd &fd, struct stat &st);

// The file a writer changes: its directory, open and used for every step,
// and its name there. Editing through a symbolic link edits the file it
// points to, in that file's directory; a dangling link is refused rather
// than followed to create a file.
class WriteTarget {
public:
    enum class State { kOpened, kMissing };

    WriteTarget() = default;
    WriteTarget(const WriteTarget &) = delete;
    WriteTarget &operator=(const WriteTarget &) = delete;

    // Opens the target with access (O_RDONLY or O_RDWR) and takes its
    // exclusive lock, waiting at most VELKC_FILE_LOCK_TIMEOUT_MS
    // (ERR_LOCK_TIMEOUT). The lock is checked against the path once held,
    // since a writer that held it before may have renamed a new file over
    // the one that was opened. kMissing when the target does not exist: the
    // directory is then locked instead, so that creators do not race.
    // Locks last until the descriptors are closed.
    Status Open(const char *path, int access, State &state, UniqueFd &fd);

    int dirFd() const noexcept { return dir_.get(); }
    const char *name() const noexcept { return name_; }

private:
    Status Resolve(const char *path);

    char path_[PATH_MAX] = {};
    const char *name_ = nullptr;
    UniqueFd dir_;
};

} // namespace velkc
