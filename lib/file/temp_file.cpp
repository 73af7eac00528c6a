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

// Suffixes need to be unlikely to collide, not unpredictable: O_EXCL, mkdir
// and link() refuse a name that exists.
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

// Tries make on fresh names until one is free; false with errno set.
template <typename Make>
bool WithFreshName(Make &&make)
{
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        if (make()) {
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

} // namespace

bool OthersMayMoveNames(const struct stat &dir, uid_t owner) noexcept
{
    const uid_t writer = geteuid();
    if (dir.st_uid != writer && dir.st_uid != 0) {
        return true; // the directory's owner may move anything in it
    }
    if ((dir.st_mode & (S_IWGRP | S_IWOTH)) == 0) {
        return false;
    }
    // In a sticky directory only a name's owner moves it.
    return !(dir.st_mode & S_ISVTX) || owner != writer;
}

TempFile::~TempFile()
{
    if (named_) {
        unlinkat(nameDir(), name_, 0);
    }
    RemovePrivateDir();
}

void TempFile::PickName(char (&name)[NAME_MAX + 1]) const noexcept
{
    const std::size_t stem = std::min(std::strlen(target_), kMaxStem);
    std::memcpy(name, target_, stem);
    name[stem] = '.';
    unsigned long long bits = NextRandom();
    for (int i = 0; i < kSuffixLength; ++i, bits /= sizeof kSuffixChars - 1) {
        name[stem + 1 + i] = kSuffixChars[bits % (sizeof kSuffixChars - 1)];
    }
    name[stem + 1 + kSuffixLength] = '\0';
}

Status TempFile::MakePrivateDir()
{
    if (privateDir_) {
        return kOk;
    }
    const bool made = WithFreshName([&] {
        PickName(privateDirName_);
        return mkdirat(dirfd_, privateDirName_, 0700) == 0;
    });
    if (!made) {
        privateDirName_[0] = '\0';
        return ERR_OPEN_FAILED;
    }
    // Whoever may move names here could have put another directory in its
    // place: only one of the writer's own, closed to others, will do.
    privateDir_.reset(openat(dirfd_, privateDirName_, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!privateDir_ || fstat(privateDir_.get(), &st) != 0 || st.st_uid != geteuid() || (st.st_mode & 077) != 0) {
        return ERR_OPEN_FAILED;
    }
    std::strcpy(name_, target_);
    return kOk;
}

bool TempFile::RemovePrivateDir() noexcept
{
    if (privateDirName_[0] == '\0') {
        return true;
    }
    privateDir_.reset();
    // Gone already: the directory's owner moved it, as they may.
    const bool removed = unlinkat(dirfd_, privateDirName_, AT_REMOVEDIR) == 0 || errno == ENOENT;
    privateDirName_[0] = '\0';
    return removed;
}

Status TempFile::Create(int dirfd, const char *target, mode_t mode, bool privateName)
{
    dirfd_ = dirfd;
    target_ = target;
    privateName_ = privateName;
    fd_.reset(openat(dirfd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    if (fd_) {
        return kOk;
    }
    if (errno != EOPNOTSUPP && errno != EISDIR) {
        return ERR_OPEN_FAILED;
    }
    // No unnamed files here: the file is named from the start.
    if (privateName_) {
        if (Status status = MakePrivateDir()) {
            return status;
        }
        fd_.reset(openat(nameDir(), name_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    } else {
        WithFreshName([&] {
            PickName(name_);
            fd_.reset(openat(dirfd, name_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
            return static_cast<bool>(fd_);
        });
    }
    named_ = static_cast<bool>(fd_);
    return named_ ? kOk : ERR_OPEN_FAILED;
}

Status TempFile::Name()
{
    if (named_) {
        return kOk;
    }
    if (privateName_) {
        if (MakePrivateDir() != kOk || LinkUnnamed(fd_.get(), nameDir(), name_) != 0) {
            return ERR_RENAME_FAILED;
        }
        named_ = true;
        return kOk;
    }
    named_ = WithFreshName([&] {
        PickName(name_);
        return LinkUnnamed(fd_.get(), dirfd_, name_) == 0;
    });
    return named_ ? kOk : ERR_RENAME_FAILED;
}

Status TempFile::Replace()
{
    // Named and renamed back to back: a process killed between the two is
    // the only way a temporary name can stay behind.
    if (Status status = Name()) {
        return status;
    }
    // The file was synced before; a failing close still fails the call,
    // before anything has changed.
    if (::close(fd_.release()) != 0) {
        return ERR_WRITE_FAILED;
    }
    if (renameat(nameDir(), name_, dirfd_, target_) != 0) {
        return ERR_RENAME_FAILED;
    }
    named_ = false;
    return RemovePrivateDir() ? kOk : ERR_NOT_DURABLE;
}

int TempFile::MoveNamed() noexcept
{
    // One step, so that no second name is left to remove; file systems that
    // cannot rename without replacing get a link, and the name goes later.
    if (renameat2(nameDir(), name_, dirfd_, target_, RENAME_NOREPLACE) == 0) {
        named_ = false;
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? linkat(nameDir(), name_, dirfd_, target_, 0) : -1;
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
    return RemovePrivateDir() ? kOk : ERR_NOT_DURABLE;
}

} // namespace velkc
