// VELKCGetLookDict: the table's lookup for reading.
#include "hash_internal.hpp"

extern "C" int VELKCGetLookDict(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr || szKey == nullptr) {
        return -1;
    }
    return velkc::hash::FindSlot(pHash, szKey, velkc::hash::HashKey(szKey));
}
