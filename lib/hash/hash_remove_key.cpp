// VELKCSzHashRemoveKey: turn the key's slot into a tombstone.
#include "hash_internal.hpp"

// The value's text stays in the string area, so the returned pointer holds
// until the table next changes.
extern "C" char *VELKCSzHashRemoveKey(SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr || szKey == nullptr) {
        return nullptr;
    }
    const velkc::hash::SlotIndex::Hit hit = velkc::hash::FindKey(pHash, szKey, velkc::hash::HashKey(szKey));
    if (hit.slot < 0) {
        return nullptr;
    }
    velkc::hash::DropKey(pHash, hit);
    --pHash->nPair;
    return pHash->rgSlot[hit.slot].pszVal;
}
