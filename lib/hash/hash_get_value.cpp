// VELKCSzHashGetValue: the stored value of a key, inside the table.
#include "hash_internal.hpp"

extern "C" char *VELKCSzHashGetValue(const SzHash *pHash, const char *szKey) noexcept
{
    if (pHash == nullptr || szKey == nullptr) {
        return nullptr;
    }
    const int idx = velkc::hash::FindSlot(pHash, szKey, velkc::hash::HashKey(szKey));
    return idx < 0 ? nullptr : pHash->rgSlot[idx].pszVal;
}
