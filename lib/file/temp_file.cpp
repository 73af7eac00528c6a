// The temporary file of the configuration-file writers.
#include "temp_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace velkc {

namespace {

constexpr char kSuffixChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr int kSuffixLength = 6;
// ".XXXXXX" after the target's name.
constexpr std::size_t kMaxStem = NAME_MAX - 1 - kSuffixLength;
constexpr int kNameAttempts = 100;

// Suffixes need to be unlikely to collide, not unpredictable: O_EXCL and
// link() refuse a name that exists.
unsigned long long NextRandom() noexcept
{
    thread_local unsigned long long state = 0;
    if (state == 0) {
        timespec ts;
        clock_gettime(CLOCK_REALTIME, &ts);
        state = (static_cast<unsigned long long>(ts.tv_nsec) << 20) ^ static_cast<unsigned long long>(getpid()) ^
                reinterpret_cast<unsigned long long>(&state) ^ 0x9E3779B97F4A7C15ull;
    }
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
}

// Links the open unnamed file fd in as name in dirfd.
int LinkUnnamed(int fd, int dirfd, const char *name) noexcept
{
    char proc[64];
    std::snprintf(proc, sizeof proc, "/proc/self/fd/%d", fd);
    if (linkat(AT_FDCWD, proc, dirfd, name, AT_SYMLINK_FOLLOW) == 0) {
        return 0;
    }
    // Without /proc, privileged callers can still link by descriptor.
    return errno == ENOENT ? linkat(fd, "", dirfd, name, AT_EMPTY_PATH) : -1;
}

} // namespace

TempFile::~TempFile()
{
    if (named_) {
        unlinkat(dirfd_, name_, 0);
    }
}

void TempFile::PickName()
{
    const std::size_t stem = std::min(std::strlen(target_), kMaxStem);
    std::memcpy(name_, target_, stem);
    name_[stem] = '.';
    unsigned long long bits = NextRandom();
    for (int i = 0; i < kSuffixLength; ++i, bits /= sizeof kSuffixChars - 1) {
        name_[stem + 1 + i] = kSuffixChars[bits % (sizeof kSuffixChars - 1)];
    }
    name_[stem + 1 + kSuffixLength] = '\0';
}

Status TempFile::Create(int dirfd, const char *target, mode_t mode)
{
    dirfd_ = dirfd;
    target_ = target;
    fd_.reset(openat(dirfd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    if (fd_) {
        return kOk;
    }
    if (errno != EOPNOTSUPP && errno != EISDIR) {
        return ERR_OPEN_FAILED;
    }
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        PickName();
        fd_.reset(openat(dirfd, name_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (fd_) {
            named_ = true;
            return kOk;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return ERR_OPEN_FAILED;
}

Status TempFile::Name()
{
    for (int attempt = 0; !named_ && attempt < kNameAttempts; ++attempt) {
        PickName();
        if (LinkUnnamed(fd_.get(), dirfd_, name_) == 0) {
            named_ = true;
        } else if (errno != EEXIST) {
            break;
        }
    }
    return named_ ? kOk : ERR_RENAME_FAILED;
}

Status TempFile::Replace()
{
    // Named and renamed back to back: a process killed between the two is
    // the only way a temporary file can stay behind.
    if (Status status = Name()) {
        return status;
    }
    if (renameat(dirfd_, name_, dirfd_, target_) != 0) {
        return ERR_RENAME_FAILED;
    }
    named_ = false;
    // The file was synced before; a failing close still makes the call fail.
    return ::close(fd_.release()) == 0 ? kOk : ERR_WRITE_FAILED;
}

int TempFile::MoveNamed() noexcept
{
    // One step, so that no second name is left to remove; file systems that
    // cannot rename without replacing get a link, and the name goes later.
    if (renameat2(dirfd_, name_, dirfd_, target_, RENAME_NOREPLACE) == 0) {
        named_ = false;
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? linkat(dirfd_, name_, dirfd_, target_, 0) : -1;
}

Status TempFile::LinkNew()
{
    const int linked = named_ ? MoveNamed() : LinkUnnamed(fd_.get(), dirfd_, target_);
    if (linked != 0) {
        return ERR_OPEN_FAILED;
    }
    if (::close(fd_.release()) != 0) {
        unlinkat(dirfd_, target_, 0); // all or nothing: no target after a failure
        return ERR_WRITE_FAILED;
    }
    return kOk;
}

} // namespace velkc
