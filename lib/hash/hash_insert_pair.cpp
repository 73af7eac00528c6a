// VELKCInsertPair: writes a pair into a given slot.
#include "hash_internal.hpp"

// A pair that does not fit in the free bytes, or an index outside the
// table, is not written.
extern "C" void VELKCInsertPair(SzHash *pHash, const char *szKey, const char *szValue, int idx) noexcept
{
    using namespace velkc::hash;
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || !ValidSlot(pHash, idx)) {
        return;
    }
    const KeyHash kh = HashKey(szKey);
    CheckPlacement(pHash, szKey, kh, idx);
    PutPair(pHash, szKey, kh, szValue, idx);
}
