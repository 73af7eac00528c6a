// The per-thread table of open lock files, shared by its creator and by
// VELKCFileCloseLock.
#pragma once

#include <velkc/file.h>

namespace velkc {

// 28 live entries and the terminating one (bit 0, empty path).
inline constexpr int kLockTableLive = 28;
inline constexpr int kLockTableSize = kLockTableLive + 1;

} // namespace velkc
