// VELKCSzHashSetAdd: add an item, rebuilding the set in a larger block when
// it is short of slots or of string space.
#include "hash_internal.hpp"
#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <algorithm>

namespace {

using namespace velkc::hash;

// Makes slot idx live with a copy of the item. The caller has made sure
// that cb bytes are free.
void PutItem(SzHashSet *pSet, const char *szItem, const KeyHash &kh, int cb, int idx) noexcept
{
    SzHashSetSlot &slot = pSet->rgSlot[idx];
    slot.pszKey = StoreString(pSet, szItem, cb);
    slot.fUsed = 1;
    ++pSet->nItem;
    IndexKey(pSet, idx, kh, false);
}

// Equality counts as too little space: the area's last byte is never
// handed out.
bool NeedsRebuild(const SzHashSet *pSet, int cbItem) noexcept
{
    return SlotsShort(pSet->nSlot, pSet->nItem) || pSet->cbFree <= cbItem;
}

// The string area of the rebuilt set: the bytes in use per item times the
// new slot count, plus the item's own bytes, and never smaller than before.
// For many tiny items the truncated average can fall short of what is in
// use; the area then still takes what is in use plus the item.
long long RebuiltSpace(const SzHashSet *pSet, int cbItem, long long nSlot) noexcept
{
    const long long cbUsed = pSet->cbSpace - pSet->cbFree;
    const long long avg = pSet->nItem == 0
                              ? cbItem
                              : static_cast<long long>(static_cast<float>(cbUsed) / static_cast<float>(pSet->nItem));
    return std::max({cbItem + avg * nSlot, static_cast<long long>(pSet->cbSpace), cbUsed + cbItem});
}

// A compact copy of the set in a larger block: more slots when fewer than
// a quarter are free, else the same count. The old block is left alone.
SzHashSet *Rebuild(const SzHashSet *pSet, int cbItem) noexcept
{
    const long long nSlot = SlotsShort(pSet->nSlot, pSet->nItem) ? GrownSlots(pSet->nSlot) : pSet->nSlot;
    const long long cbSpace = RebuiltSpace(pSet, cbItem, nSlot);
    if (nSlot > INT_MAX || cbSpace > INT_MAX) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    SzHashSet *pNew = VELKCSzHashSetAllocator(static_cast<int>(nSlot), static_cast<int>(cbSpace));
    if (pNew != nullptr) {
        Rehash(pSet, pNew, [](SzHashSet *pDst, const SzHashSetSlot &slot, int idx, const KeyHash &kh) {
            PutItem(pDst, slot.pszKey, kh, StoredSize(kh.cb), idx);
        });
    }
    return pNew;
}

} // namespace

extern "C" int VELKCSzHashSetAdd(SzHashSet **ppSet, const char *szItem) noexcept
{
    if (ppSet == nullptr || *ppSet == nullptr || szItem == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const KeyHash kh = HashKey(szItem);
    const int cbItem = StoredSize(kh.cb);
    if (cbItem < 0) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    SzHashSet *pSet = *ppSet;
    // A replaced block is freed only on return: the item may point into it.
    velkc::MallocPtr<SzHashSet> pOld;
    if (NeedsRebuild(pSet, cbItem)) {
        SzHashSet *pNew = Rebuild(pSet, cbItem);
        if (pNew == nullptr) {
            return -1; // the old set is intact
        }
        pOld.reset(pSet);
        pSet = *ppSet = pNew;
    }
    const int idx = SlotForWrite(pSet, szItem, kh);
    if (idx < 0) {
        return -1;
    }
    if (pSet->rgSlot[idx].pszKey == nullptr) {
        PutItem(pSet, szItem, kh, cbItem, idx);
    }
    return 0;
}
