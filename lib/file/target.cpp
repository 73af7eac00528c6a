// Opening configuration files safely.
#include "target.hpp"

#include <velkc/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velkc {

namespace {

constexpr long kNanosPerMilli = 1000 * 1000;
// The lock is polled: first after 1 ms, then at most every 20 ms.
constexpr long kFirstPollNanos = 1 * kNanosPerMilli;
constexpr long kMaxPollNanos = 20 * kNanosPerMilli;

long long NowNanos() noexcept
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 * kNanosPerMilli + ts.tv_nsec;
}

bool SameFile(const struct stat &a, const struct stat &b) noexcept
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Takes an exclusive flock on fd, polling until the deadline.
Status LockExclusive(int fd, long long deadline)
{
    for (long pause = kFirstPollNanos;;) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
            return kOk;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EWOULDBLOCK) {
            return ERR_OPEN_FAILED;
        }
        const long long left = deadline - NowNanos();
        if (left <= 0) {
            return ERR_LOCK_TIMEOUT;
        }
        const timespec ts{0, static_cast<long>(std::min<long long>(pause, left))};
        nanosleep(&ts, nullptr);
        pause = std::min(2 * pause, kMaxPollNanos);
    }
}

} // namespace

Status OpenRegular(int dirfd, const char *name, int flags, Links links, UniqueFd &fd, struct stat &st)
{
    const int nofollow = links == Links::kNoFollow ? AT_SYMLINK_NOFOLLOW : 0;
    if (fstatat(dirfd, name, &st, nofollow) != 0 || !S_ISREG(st.st_mode)) {
        return ERR_OPEN_FAILED;
    }
    const int extra = links == Links::kNoFollow ? O_NOFOLLOW : 0;
    fd.reset(openat(dirfd, name, flags | extra | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat opened;
    if (!fd || fstat(fd.get(), &opened) != 0 || !S_ISREG(opened.st_mode)) {
        fd.reset();
        return ERR_OPEN_FAILED;
    }
    st = opened;
    return kOk;
}

Status WriteTarget::Resolve(const char *path)
{
    struct stat st;
    if (lstat(path, &st) == 0 && S_ISLNK(st.st_mode)) {
        if (realpath(path, path_) == nullptr) {
            return ERR_OPEN_FAILED; // dangling, a loop, or unreadable
        }
    } else if (std::strlen(path) >= sizeof path_) {
        return ERR_OPEN_FAILED;
    } else {
        std::strcpy(path_, path);
    }
    char *slash = std::strrchr(path_, '/');
    const char *dir = ".";
    name_ = path_;
    if (slash != nullptr) {
        name_ = slash + 1;
        *slash = '\0';
        dir = slash == path_ ? "/" : path_;
    }
    if (*name_ == '\0') {
        return ERR_OPEN_FAILED; // a path ending in "/" names a directory
    }
    dir_.reset(open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return dir_ ? kOk : ERR_OPEN_FAILED;
}

Status WriteTarget::Open(const char *path, int access, State &state, UniqueFd &fd)
{
    if (Status status = Resolve(path)) {
        return status;
    }
    const long long deadline = NowNanos() + VELKC_FILE_LOCK_TIMEOUT_MS * kNanosPerMilli;
    bool dirLocked = false;
    for (;;) {
        struct stat now;
        if (fstatat(dir_.get(), name_, &now, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) {
                return ERR_OPEN_FAILED;
            }
            if (dirLocked) {
                state = State::kMissing;
                return kOk;
            }
            // Creators serialise on the directory; look again once it is ours.
            if (Status status = LockExclusive(dir_.get(), deadline)) {
                return status;
            }
            dirLocked = true;
            continue;
        }
        if (dirLocked) {
            flock(dir_.get(), LOCK_UN); // another writer created it meanwhile
            dirLocked = false;
        }
        struct stat st;
        if (Status status = OpenRegular(dir_.get(), name_, access, Links::kNoFollow, fd, st)) {
            return status;
        }
        if (Status status = LockExclusive(fd.get(), deadline)) {
            return status;
        }
        if (fstatat(dir_.get(), name_, &now, AT_SYMLINK_NOFOLLOW) == 0 && SameFile(now, st)) {
            state = State::kOpened;
            return kOk;
        }
        fd.reset(); // replaced while we waited: take the new file
        if (NowNanos() >= deadline) {
            return ERR_LOCK_TIMEOUT;
        }
    }
}

} // namespace velkc
