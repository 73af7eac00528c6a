// The table's writers of pairs and values.
#include "hash_internal.hpp"

#include <climits>
#include <cstdint>
#include <cstring>

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

} // namespace

namespace velkc::hash {

void PutPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int idx) noexcept
{
    const int cbKey = StoredSize(kh.cb);
    const int cbVal = StoredSize(szValue);
    const int cbNeed = PairSize(cbKey, cbVal);
    if (cbNeed >= 0 && cbNeed <= pHash->cbFree) {
        WritePair(pHash, szKey, kh, cbKey, szValue, cbVal, idx);
    }
}

SzHash *AddPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx,
                bool fTrustedIdx) noexcept
{
    const int cbKey = StoredSize(kh.cb);
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
    const int cbNeed = StoredSize(cchNew);
    SzHash *pNew = Reserve(pHash, szKey, kh, cbNeed, pIdx);
    if (pNew != nullptr && ValidSlot(pNew, *pIdx)) {
        pNew->rgSlot[*pIdx].pszVal = StoreString(pNew, szValue, cbNeed);
    }
    return pNew;
}

} // namespace velkc::hash
