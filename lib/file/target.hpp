// Opening configuration files safely: only regular files, never blocking,
// and, for writers, through a path no other user can steer (path_walk.hpp),
// under the writers' lock (write_lock.hpp).
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"
#include "path_walk.hpp"
#include "write_lock.hpp"

#include <sys/stat.h>

namespace velkc {

enum class Links { kFollow, kNoFollow };

// Opens name (relative to dirfd, or a path with AT_FDCWD) with flags when it
// is a regular file. Anything else is refused before it is opened, so that
// a FIFO cannot block the call and a device never sees an open; the type is
// checked again on the open descriptor. ERR_OPEN_FAILED on any failure, with
// errno saying why (EINVAL: not a regular file).
Status OpenRegular(int dirfd, const char *name, int flags, Links links, UniqueFd &fd, struct stat &st);

// The file a writer changes: its directory, open and used for every step,
// and its name there.
class WriteTarget {
public:
    enum class State { kOpened, kMissing };

    WriteTarget() = default;
    WriteTarget(const WriteTarget &) = delete;
    WriteTarget &operator=(const WriteTarget &) = delete;

    // Resolves path (ERR_OPEN_FAILED, ERR_UNSAFE_LINK), takes the writers'
    // lock of the target, waiting at most VELKC_FILE_LOCK_TIMEOUT_MS
    // (ERR_LOCK_TIMEOUT), and opens the target for reading into fd, with its
    // status in st; kMissing when it does not exist. The lock lasts as long
    // as the object.
    Status Open(const char *path, State &state, UniqueFd &fd, struct stat &st);

    int dirFd() const noexcept { return resolved_.dir.get(); }
    const struct stat &dirStat() const noexcept { return resolved_.dirStat; }
    const char *name() const noexcept { return resolved_.name; }

private:
    ResolvedTarget resolved_;
    WriteLock lock_;
};

} // namespace velkc
