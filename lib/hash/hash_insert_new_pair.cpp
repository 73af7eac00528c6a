// VELKCInsertNewPair: adds a pair at the slot a lookup for writing chose,
// growing the table first when needed.
#include "hash_internal.hpp"

extern "C" SzHash *VELKCInsertNewPair(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) noexcept
{
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || pIdx == nullptr) {
        return nullptr;
    }
    return velkc::hash::AddPair(pHash, szKey, velkc::hash::HashKey(szKey), szValue, pIdx, false);
}
