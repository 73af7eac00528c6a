// The per-thread table of open lock files, shared by its creator and by
// VELKCFileCloseLock.
#pragma once

#include <velkc/file.h>

namespace velkc {

// 28 live entries and the terminating one (bit 0, empty path).
inline constexpr int kLockTableLive = 28;
inline constexpr int kLockTableSize = kLockTableLive + 1;

// For a forked child, before it execs: closes the calling thread's lock
// files by descriptor and forgets every lock. Allocates nothing and takes
// no lock.
void ResetLockTableInChild() noexcept;

// The descriptors of the calling thread's open lock files, for a child that
// shares the caller's memory and so must close them without touching the
// table. Returns how many were stored.
int LockTableFds(int (&fds)[kLockTableLive]) noexcept;

} // namespace velkc
