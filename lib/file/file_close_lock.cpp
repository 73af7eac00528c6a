// VELKCFileCloseLock: close every lock file the calling thread holds open.
#include "internal/lock_table.hpp"

#include <cstdio>

extern "C" int VELKCFileCloseLock(void) noexcept
{
    auto *table = static_cast<VELKCFileLock *>(VELKCFileLockTableGet());
    if (table == nullptr) {
        return -1;
    }
    const bool closed = velkc::ResetLockEntries(
        table, [](std::FILE *f) noexcept { return std::fclose(f) == 0; }, velkc::LockWords::kFirst);
    return closed ? 0 : -1;
}
