// VELKCCopyHash: re-inserts every live pair of one table into another.
#include "hash_internal.hpp"

// Tombstones and abandoned bytes stay behind: the copy is compact.
extern "C" void VELKCCopyHash(const SzHash *pSrc, SzHash *pDst) noexcept
{
    using namespace velkc::hash;
    if (pSrc == nullptr || pDst == nullptr) {
        return;
    }
    Rehash(pSrc, pDst, [](SzHash *pHash, const SzHashSlot &slot, int idx, const KeyHash &kh) {
        PutPair(pHash, slot.pszKey, kh, slot.pszVal, idx);
    });
}
