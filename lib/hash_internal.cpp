// The hash table's insertion and growth: check space, resize, copy, and the
// writers of new pairs and of new values.
#include "hash_internal.hpp"
#include "internal.hpp"

namespace {

using namespace velkc::hash;

// Copies key and value into the string area, key first, and makes slot idx
// live with them. The caller has checked that cbKey + cbVal bytes are free.
void WritePair(SzHash *pHash, const char *szKey, const KeyHash &kh, int cbKey, const char *szValue, int cbVal,
               int idx) noexcept
{
    SzHashSlot &slot = pHash->rgSlot[idx];
    const bool wasLive = slot.pszKey != nullptr;
    slot.pszKey = StoreString(pHash, szKey, cbKey);
    slot.pszVal = StoreString(pHash, szValue, cbVal);
    ++pHash->nPair;
    IndexKey(pHash, idx, kh, wasLive);
}

// Bytes of a key and value pair, or -1 if a block could not hold them.
int PairSize(int cbKey, int cbVal) noexcept
{
    return (cbKey < 0 || cbVal < 0 || cbKey > INT_MAX - cbVal) ? -1 : cbKey + cbVal;
}

// Writes the pair into slot idx if its bytes fit in the free space.
void PutPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int idx) noexcept
{
    const int cbKey = StoredSize(szKey);
    const int cbVal = StoredSize(szValue);
    const int cbNeed = PairSize(cbKey, cbVal);
    if (cbNeed >= 0 && cbNeed <= pHash->cbFree) {
        WritePair(pHash, szKey, kh, cbKey, szValue, cbVal, idx);
    }
}

// The string area of a grown table: the whole capacity averaged over the
// live pairs, times the free slots, plus what is needed now.
long long GrownSpace(const SzHash *pHash, int cbNeed) noexcept
{
    const long long avg = pHash->nPair == 0
                              ? cbNeed
                              : static_cast<long long>(static_cast<float>(pHash->cbSpace) /
                                                       static_cast<float>(pHash->nPair));
    return pHash->cbSpace + avg * (pHash->nSlot - pHash->nPair) + cbNeed;
}

// Makes room for cbNeed more bytes and one more pair. If the table moved,
// *pIdx is looked up again for szKey in the new block; -1 there cannot
// happen (a grown table has free slots), but the new block is returned all
// the same so that the caller's handle never points at the freed one.
SzHash *Reserve(SzHash *pHash, const char *szKey, const KeyHash &kh, int cbNeed, int *pIdx) noexcept
{
    SzHash *pNew = VELKCICheckSpace(pHash, cbNeed);
    if (pNew != nullptr && pNew != pHash) {
        *pIdx = SlotForWrite(pNew, szKey, kh);
    }
    return pNew;
}

bool ValidSlot(const SzHash *pHash, int idx) noexcept { return idx >= 0 && idx < pHash->nSlot; }

} // namespace

namespace velkc::hash {

SzHash *AddPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx,
                bool fTrustedIdx) noexcept
{
    const int cbKey = StoredSize(szKey);
    const int cbVal = StoredSize(szValue);
    SzHash *pNew = Reserve(pHash, szKey, kh, PairSize(cbKey, cbVal), pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        if (pNew == pHash && !fTrustedIdx) {
            CheckPlacement(pNew, szKey, kh, *pIdx);
        }
        WritePair(pNew, szKey, kh, cbKey, szValue, cbVal, *pIdx);
    }
    return pNew;
}

SzHash *UpdateValue(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx) noexcept
{
    char *pszOld = pHash->rgSlot[*pIdx].pszVal;
    const std::size_t cchNew = std::strlen(szValue);
    if (cchNew <= std::strlen(pszOld)) {
        std::memmove(pszOld, szValue, cchNew + 1);
        return pHash;
    }
    const int cbNeed = StoredSize(szValue);
    SzHash *pNew = Reserve(pHash, szKey, kh, cbNeed, pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        pNew->rgSlot[*pIdx].pszVal = StoreString(pNew, szValue, cbNeed);
    }
    return pNew;
}

} // namespace velkc::hash

// Like the public functions other than VELKCSzHashPairNum, these report
// null or unusable arguments by their result alone, without an error.
extern "C" {

SzHash *VELKCICheckSpace(SzHash *pHash, int cbNeed) noexcept
{
    if (pHash == nullptr) {
        return nullptr;
    }
    // A negative need stands for texts too long for any block.
    if (cbNeed < 0) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    const bool growSlots = SlotsShort(pHash->nSlot, pHash->nPair);
    // Equality counts as too little: the area's last byte is never handed out.
    const bool growSpace = pHash->cbFree <= cbNeed;
    if (!growSlots && !growSpace) {
        return pHash;
    }
    const long long nSlot = growSlots ? GrownSlots(pHash->nSlot) : pHash->nSlot;
    const long long cbSpace = growSpace ? GrownSpace(pHash, cbNeed) : pHash->cbSpace;
    if (nSlot > INT_MAX || cbSpace > INT_MAX) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    return VELKCVELKIReSizeHash(pHash, static_cast<int>(nSlot), static_cast<int>(cbSpace));
}

SzHash *VELKCVELKIReSizeHash(SzHash *pHash, int nSlot, int cbSpace) noexcept
{
    if (pHash == nullptr) {
        return nullptr;
    }
    SzHash *pNew = VELKCIHashAllocator(nSlot, cbSpace);
    if (pNew == nullptr) {
        return nullptr;
    }
    VELKCCopyHash(pHash, pNew);
    std::free(pHash);
    return pNew;
}

// Tombstones and abandoned bytes stay behind: the copy is compact.
void VELKCCopyHash(const SzHash *pSrc, SzHash *pDst) noexcept
{
    if (pSrc == nullptr || pDst == nullptr) {
        return;
    }
    Rehash(pSrc, pDst, [](SzHash *pHash, const SzHashSlot &slot, int idx, const KeyHash &kh) {
        PutPair(pHash, slot.pszKey, kh, slot.pszVal, idx);
    });
}

SzHash *VELKCInsertNewPair(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) noexcept
{
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || pIdx == nullptr) {
        return nullptr;
    }
    return AddPair(pHash, szKey, HashKey(szKey), szValue, pIdx, false);
}

// A pair that does not fit in the free bytes, or an index outside the
// table, is not written.
void VELKCInsertPair(SzHash *pHash, const char *szKey, const char *szValue, int idx) noexcept
{
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || !ValidSlot(pHash, idx)) {
        return;
    }
    const KeyHash kh = HashKey(szKey);
    CheckPlacement(pHash, szKey, kh, idx);
    PutPair(pHash, szKey, kh, szValue, idx);
}

// A value no longer than the current one overwrites it in place; a longer
// one is stored anew and the old bytes are abandoned.
SzHash *VELKCVELKIUpdateValue(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) noexcept
{
    if (pHash == nullptr || szKey == nullptr || szValue == nullptr || pIdx == nullptr ||
        !ValidSlot(pHash, *pIdx) || pHash->rgSlot[*pIdx].pszKey == nullptr) {
        return nullptr;
    }
    return UpdateValue(pHash, szKey, HashKey(szKey), szValue, pIdx);
}

} // extern "C"
