// The per-thread table of open lock files, shared by its creator and by
// VELKCFileCloseLock.
#pragma once

#include <velkc/file.h>

#include <cstdio>

namespace velkc {

// 28 live entries and the terminating one (bit 0, empty path).
inline constexpr int kLockTableLive = 28;
inline constexpr int kLockTableSize = kLockTableLive + 1;

// Which lock-state words a reset clears: VELKCFileCloseLock clears the
// first, a thread's end and a fork clear both.
enum class LockWords { kFirst, kBoth };

// Closes the open lock file of every live entry of table with closeFile
// (false when that fails), sets it null and clears the words. False when a
// close failed; the others are closed all the same.
bool ResetLockEntries(VELKCFileLock *table, bool (*closeFile)(std::FILE *) noexcept, LockWords words) noexcept;

// For a forked child, before it execs: closes the calling thread's lock
// files by descriptor and forgets every lock. Allocates nothing and takes
// no lock.
void ResetLockTableInChild() noexcept;

// The descriptors of the calling thread's open lock files, for a child that
// shares the caller's memory and so must close them without touching the
// table. Returns how many were stored.
int LockTableFds(int (&fds)[kLockTableLive]) noexcept;

} // namespace velkc
