// VELKCSzHashRemoveKey: turn the key's slot into a tombstone.
#include "hash_internal.hpp"

// The value's text stays in the string area, so the returned pointer holds
// until the table next changes.
extern "C" char *VELKCSzHashRemoveKey(SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr || szKey == nullptr) {
        return nullptr;
    }
    const velkc::hash::KeyHash kh = velkc::hash::HashKey(szKey);
    const int idx = velkc::hash::FindSlot(pHash, szKey, kh);
    if (idx < 0) {
        return nullptr;
    }
    velkc::hash::DropKey(pHash, idx, kh);
    --pHash->nPair;
    return pHash->rgSlot[idx].pszVal;
}
