// VELKCVELKIUpdateValue: gives the key in a live slot a new value.
#include "hash_internal.hpp"

// A value no longer than the current one overwrites it in place; a longer
// one is stored anew and the old bytes are abandoned.
extern "C" SzHash *VELKCVELKIUpdateValue(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) noexcept
{
    using namespace velkc::hash;
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || pIdx == nullptr || !ValidSlot(pHash, *pIdx) ||
        pHash->rgSlot[*pIdx].pszKey == nullptr) {
        return nullptr;
    }
    return UpdateValue(pHash, szKey, HashKey(szKey), szValue, pIdx);
}
