// Opening configuration files safely.
#include "target.hpp"

#include <velkc/file.h>

#include <cerrno>
#include <fcntl.h>

namespace velkc {

namespace {
constexpr long long kNanosPerMilli = 1000 * 1000;

// errno for a name that is there but is no regular file.
bool Regular(const struct stat &st) noexcept
{
    if (S_ISREG(st.st_mode)) {
        return true;
    }
    errno = EINVAL;
    return false;
}
} // namespace

Status OpenRegular(int dirfd, const char *name, int flags, Links links, UniqueFd &fd, struct stat &st)
{
    const int nofollow = links == Links::kNoFollow ? AT_SYMLINK_NOFOLLOW : 0;
    if (fstatat(dirfd, name, &st, nofollow) != 0 || !Regular(st)) {
        return ERR_OPEN_FAILED;
    }
    const int extra = links == Links::kNoFollow ? O_NOFOLLOW : 0;
    fd.reset(openat(dirfd, name, flags | extra | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat opened;
    if (!fd || fstat(fd.get(), &opened) != 0 || !Regular(opened)) {
        fd.reset();
        return ERR_OPEN_FAILED;
    }
    st = opened;
    return kOk;
}

Status WriteTarget::Open(const char *path, State &state, UniqueFd &fd, struct stat &st)
{
    if (Status status = ResolveTarget(path, resolved_)) {
        return status;
    }
    const long long deadline = MonotonicNanos() + VELKC_FILE_LOCK_TIMEOUT_MS * kNanosPerMilli;
    if (Status status = lock_.Acquire(dirFd(), dirStat(), name(), deadline)) {
        return status;
    }
    const Status status = OpenRegular(dirFd(), name(), O_RDONLY, Links::kNoFollow, fd, st);
    if (status != kOk && errno == ENOENT) {
        state = State::kMissing;
        return kOk;
    }
    state = State::kOpened;
    return status;
}

} // namespace velkc
