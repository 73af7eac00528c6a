// VELKCSzListInsert: stores a copy of a string at an index, or at its
// sorted position, growing the list as needed.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "list_internal.hpp"

#include <climits>
#include <cstring>

namespace {

using namespace velkc::list;

// The block size that leaves room for cbNeeded more bytes once the list is
// repacked: the current size doubled as often as needed. 0 if it would
// overflow.
int GrownSize(const SzList *pList, long long cbNeeded)
{
    const long long cbUsed = kHeaderSize + LiveBytes(pList) + cbNeeded;
    long long cbSize = pList->cbSize;
    do {
        cbSize *= 2;
    } while (cbSize < cbUsed);
    return cbSize <= INT_MAX ? static_cast<int>(cbSize) : 0;
}

} // namespace

extern "C" VELKC_API int VELKCSzListInsert(SzList **ppList, int index, const char *sz) noexcept
{
    if (ppList == nullptr || *ppList == nullptr || sz == nullptr || index < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    SzList *pList = *ppList;
    if (IsSortedMode(pList->fMode)) {
        const int r = VELKCSzListFindIndex(pList, pList->nItem - 1, 0, sz, pList->fMode == OP_UNICODE_SORTED);
        index = r >= 0 ? r : ~r;
    }
    const std::size_t cch = std::strlen(sz);
    // A position beyond the end costs a hole slot for every index skipped.
    const long long nHole = index > pList->nItem ? index - pList->nItem : 0;
    const long long cost = static_cast<long long>(cch) + 1 + kSlotSize * (nHole + 1);

    // sz may point into the block that growth replaces: free that only
    // once sz has been copied.
    velkc::MallocPtr<SzList> pOld;
    if (pList->cbFree < cost) {
        const int cbSize = GrownSize(pList, cost);
        SzList *pNew = cbSize != 0 ? CopyToBlock(pList, cbSize) : nullptr;
        if (pNew == nullptr) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
        pOld.reset(pList);
        *ppList = pList = pNew;
    }
    pList->pszStrEnd -= cch + 1;
    std::memcpy(pList->pszStrEnd, sz, cch + 1);

    if (index >= pList->nItem) {
        for (int i = pList->nItem; i < index; ++i) {
            pList->pszItem[i] = pList->pszEmpty;
        }
        pList->nItem = index + 1;
    } else {
        std::memmove(&pList->pszItem[index + 1], &pList->pszItem[index],
                     sizeof(char *) * static_cast<std::size_t>(pList->nItem - index));
        ++pList->nItem;
    }
    pList->pszItem[index] = pList->pszStrEnd;
    pList->cbFree -= static_cast<int>(cost);
    return index;
}
