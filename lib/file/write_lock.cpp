// The writers' lock.
#include "write_lock.hpp"

#include "target.hpp"

#include <velkc/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <string_view>
#include <sys/file.h>
#include <unistd.h>

namespace velkc {

namespace {

constexpr long kNanosPerMilli = 1000 * 1000;
// The lock is polled: first after 1 ms, then at most every 20 ms.
constexpr long kFirstPollNanos = 1 * kNanosPerMilli;
constexpr long kMaxPollNanos = 20 * kNanosPerMilli;

// The descriptors of ForkPrivateFd, for the fork handler.
pthread_mutex_t gRegistryMutex = PTHREAD_MUTEX_INITIALIZER;
ForkPrivateFd *gRegistry = nullptr;

// The mutex is held across the fork, so that the child's copy of the list is
// whole; the child then closes every descriptor on it.
struct ForkHandlerRegistration {
    ForkHandlerRegistration()
    {
        pthread_atfork([] { pthread_mutex_lock(&gRegistryMutex); }, [] { pthread_mutex_unlock(&gRegistryMutex); },
                       [] {
                           ForkPrivateFd::CloseAllInChild();
                           pthread_mutex_unlock(&gRegistryMutex);
                       });
    }
};
const ForkHandlerRegistration gForkHandlerRegistration;

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
        const long long left = deadline - MonotonicNanos();
        if (left <= 0) {
            return ERR_LOCK_TIMEOUT;
        }
        const timespec ts{0, static_cast<long>(std::min<long long>(pause, left))};
        nanosleep(&ts, nullptr);
        pause = std::min(2 * pause, kMaxPollNanos);
    }
}

// One attempt: locks what open gives, then asks current whether the name
// locked for still refers to it; if not (a writer that held the lock
// before replaced or removed it), lets go again and leaves held false.
template <typename Open, typename Current>
Status LockOnce(ForkPrivateFd &fd, Open &&open, Current &&current, long long deadline, bool &held)
{
    held = false;
    if (!fd.Open(open)) {
        return ERR_OPEN_FAILED;
    }
    Status status = LockExclusive(fd.get(), deadline);
    if (status == kOk) {
        status = current(held);
    }
    if (status != kOk || !held) {
        fd.Close();
    }
    if (status == kOk && !held && MonotonicNanos() >= deadline) {
        status = ERR_LOCK_TIMEOUT;
    }
    return status;
}

// Sets same when name in dir is the file open on fd.
Status NameRefersTo(int dir, const char *name, int fd, bool &same)
{
    struct stat opened;
    struct stat named;
    if (fstat(fd, &opened) != 0) {
        return ERR_OPEN_FAILED;
    }
    if (fstatat(dir, name, &named, AT_SYMLINK_NOFOLLOW) != 0) {
        same = false;
        return errno == ENOENT ? kOk : ERR_OPEN_FAILED;
    }
    same = SameFile(opened, named);
    return kOk;
}

// A directory of the calling user's that no one else can write in, created
// when missing; an empty descriptor when there is none at path.
UniqueFd OpenPrivateDirectory(const char *path, uid_t user)
{
    constexpr int kFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd dir(open(path, kFlags));
    if (!dir && errno == ENOENT && (mkdir(path, 0700) == 0 || errno == EEXIST)) {
        dir.reset(open(path, kFlags));
    }
    struct stat st;
    if (!dir || fstat(dir.get(), &st) != 0 || st.st_uid != user || (st.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return UniqueFd();
    }
    return dir;
}

UniqueFd OpenLockDirectory()
{
    const uid_t user = geteuid();
    if (user == 0) {
        return OpenPrivateDirectory("/run/velkc", user);
    }
    char path[64];
    std::snprintf(path, sizeof path, "/run/user/%u/velkc", static_cast<unsigned>(user));
    if (UniqueFd dir = OpenPrivateDirectory(path, user)) {
        return dir;
    }
    std::snprintf(path, sizeof path, "/tmp/velkc-%u", static_cast<unsigned>(user));
    return OpenPrivateDirectory(path, user);
}

// FNV-1a: spreads names over lock files; two names sharing one only take
// turns needlessly.
unsigned long long HashName(std::string_view name) noexcept
{
    unsigned long long hash = 0xcbf29ce484222325ull;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
    }
    return hash;
}

} // namespace

long long MonotonicNanos() noexcept
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 * kNanosPerMilli + ts.tv_nsec;
}

void ForkPrivateFd::Lock() noexcept { pthread_mutex_lock(&gRegistryMutex); }
void ForkPrivateFd::Unlock() noexcept { pthread_mutex_unlock(&gRegistryMutex); }

void ForkPrivateFd::Link() noexcept
{
    prev_ = nullptr;
    next_ = gRegistry;
    if (gRegistry != nullptr) {
        gRegistry->prev_ = this;
    }
    gRegistry = this;
}

void ForkPrivateFd::Close() noexcept
{
    if (fd_ < 0) {
        return;
    }
    Lock();
    (prev_ != nullptr ? prev_->next_ : gRegistry) = next_;
    if (next_ != nullptr) {
        next_->prev_ = prev_;
    }
    ::close(fd_);
    fd_ = -1;
    Unlock();
}

void ForkPrivateFd::CloseAllInChild() noexcept
{
    for (ForkPrivateFd *p = gRegistry; p != nullptr; p = p->next_) {
        ::close(p->fd_);
        p->fd_ = -1;
    }
    gRegistry = nullptr;
}

Status WriteLock::Acquire(int dir, const struct stat &dirStat, const char *name, long long deadline)
{
    lockDir_ = OpenLockDirectory();
    if (!lockDir_) {
        return AcquireTarget(dir, name, deadline);
    }
    std::snprintf(lockName_, sizeof lockName_, "%llx.%llx.%016llx", static_cast<unsigned long long>(dirStat.st_dev),
                  static_cast<unsigned long long>(dirStat.st_ino), HashName(name));
    return AcquireFile(deadline);
}

Status WriteLock::AcquireFile(long long deadline)
{
    const int dir = lockDir_.get();
    const auto open = [&] {
        return openat(dir, lockName_, O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    };
    const auto current = [&](bool &same) { return NameRefersTo(dir, lockName_, fd_.get(), same); };
    for (;;) {
        bool held = false;
        if (Status status = LockOnce(fd_, open, current, deadline, held)) {
            return status;
        }
        if (held) {
            return kOk;
        }
    }
}

Status WriteLock::AcquireTarget(int dir, const char *name, long long deadline)
{
    const auto openTarget = [&] {
        UniqueFd fd;
        struct stat st;
        return OpenRegular(dir, name, O_RDONLY, Links::kNoFollow, fd, st) == kOk ? fd.release() : -1;
    };
    const auto targetCurrent = [&](bool &same) { return NameRefersTo(dir, name, fd_.get(), same); };
    // Creators of a missing target lock its directory.
    const auto openDir = [&] { return openat(dir, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); };
    const auto stillMissing = [&](bool &missing) {
        struct stat st;
        missing = fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0;
        return !missing || errno == ENOENT ? kOk : ERR_OPEN_FAILED;
    };
    for (;;) {
        struct stat st;
        const bool exists = fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) == 0;
        if (!exists && errno != ENOENT) {
            return ERR_OPEN_FAILED;
        }
        bool held = false;
        if (Status status = exists ? LockOnce(fd_, openTarget, targetCurrent, deadline, held)
                                   : LockOnce(fd_, openDir, stillMissing, deadline, held)) {
            return status;
        }
        if (held) {
            return kOk;
        }
    }
}

void WriteLock::Release() noexcept
{
    if (fd_.get() >= 0 && lockDir_) {
        unlinkat(lockDir_.get(), lockName_, 0); // while still held: the next writer makes a new one
    }
    fd_.Close();
    lockDir_.reset();
}

} // namespace velkc
