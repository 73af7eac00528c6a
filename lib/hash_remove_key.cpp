// VELKCSzHashRemoveKey: turn the key's slot into a tombstone.
#include "hash_internal.hpp"

// The value's text stays in the string area, so the returned pointer holds
// until the table next changes.
extern "C" char *VELKCSzHashRemoveKey(SzHash *pHash, const char *szKey) noexcept
{
    const int idx = VELKCGetLookDict(pHash, szKey);
    if (idx < 0) {
        return nullptr;
    }
    SzHashSlot &slot = pHash->rgSlot[idx];
    slot.pszKey = nullptr;
    --pHash->nPair;
    return slot.pszVal;
}
