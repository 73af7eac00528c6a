// VELKCSzHashGetValue: the stored value of a key, inside the table.
#include "hash_internal.hpp"

extern "C" char *VELKCSzHashGetValue(const SzHash *pHash, const char *szKey) noexcept
{
    const int idx = VELKCGetLookDict(pHash, szKey);
    return idx < 0 ? nullptr : pHash->rgSlot[idx].pszVal;
}
