// VELKCSetLookDict: the table's lookup for writing.
#include "hash_internal.hpp"

extern "C" int VELKCSetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr) {
        return -1;
    }
    return velkc::hash::SlotForWrite(pHash, szKey);
}
