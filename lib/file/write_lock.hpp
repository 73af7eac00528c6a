// The lock that makes the writers of one file take turns.
//
// A writer locks (flock) a lock file of its own user's, named after the
// target's directory and name, in a directory only that user can open:
// "/run/velkc" for root, "/run/user/<uid>/velkc" or else "/tmp/velkc-<uid>"
// for other users. No other user can open it, so no other user can hold the
// lock against the writer, as any reader of the target could if the target
// itself were locked. The lock file is removed by the writer that holds it
// when it is done, so lock files never pile up. Where no such directory can
// be had, the target itself (or, for a missing target, its directory) is
// locked instead.
//
// A lock never outlives the call that took it: its descriptor is
// close-on-exec, and a child forked while the lock is held closes its copy
// at once (a fork handler), so that the lock goes when the writer lets go.
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"

#include <sys/stat.h>

namespace velkc {

// A descriptor that forked children close at once. Opening and closing it
// are atomic with respect to fork, so that no child ever keeps a copy.
class ForkPrivateFd {
public:
    ForkPrivateFd() = default;
    ForkPrivateFd(const ForkPrivateFd &) = delete;
    ForkPrivateFd &operator=(const ForkPrivateFd &) = delete;
    ~ForkPrivateFd() { Close(); }

    // Stores the descriptor that opener returns (false when it is negative).
    template <typename Opener>
    bool Open(Opener &&opener) noexcept
    {
        Close();
        Lock();
        fd_ = opener();
        if (fd_ >= 0) {
            Link();
        }
        Unlock();
        return fd_ >= 0;
    }
    void Close() noexcept;
    int get() const noexcept { return fd_; }

    // For the fork handler: closes every registered descriptor in a child.
    static void CloseAllInChild() noexcept;

private:
    static void Lock() noexcept;
    static void Unlock() noexcept;
    void Link() noexcept;

    int fd_ = -1;
    ForkPrivateFd *prev_ = nullptr;
    ForkPrivateFd *next_ = nullptr;
};

class WriteLock {
public:
    WriteLock() = default;
    WriteLock(const WriteLock &) = delete;
    WriteLock &operator=(const WriteLock &) = delete;
    ~WriteLock() { Release(); }

    // Takes the lock of the target name in dir (whose status is dirStat),
    // waiting until deadline (CLOCK_MONOTONIC nanoseconds):
    // ERR_LOCK_TIMEOUT, ERR_OPEN_FAILED.
    Status Acquire(int dir, const struct stat &dirStat, const char *name, long long deadline);
    void Release() noexcept;

private:
    Status AcquireFile(long long deadline);
    Status AcquireTarget(int dir, const char *name, long long deadline);

    ForkPrivateFd fd_;
    UniqueFd lockDir_; // the private lock directory, when there is one
    char lockName_[64] = {};
};

// CLOCK_MONOTONIC in nanoseconds.
long long MonotonicNanos() noexcept;

} // namespace velkc
