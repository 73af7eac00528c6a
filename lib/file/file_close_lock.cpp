// VELKCFileCloseLock: close every lock file the calling thread holds open.
#include "internal/lock_table.hpp"

#include <cstdio>

extern "C" int VELKCFileCloseLock(void) noexcept
{
    auto *table = static_cast<VELKCFileLock *>(VELKCFileLockTableGet());
    if (table == nullptr) {
        return -1;
    }
    int result = 0;
    for (VELKCFileLock *entry = table; entry->uBit != 0; ++entry) {
        if (entry->pFile != nullptr) {
            if (std::fclose(entry->pFile) != 0) {
                result = -1; // keep closing the others
            }
            entry->pFile = nullptr;
        }
        entry->nLock = 0;
    }
    return result;
}
