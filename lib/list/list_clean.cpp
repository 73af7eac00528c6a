// VELKCSzListClean: removes the holes of a list.
#include "list_internal.hpp"

// Drops every hole, keeping the order of the items; returns the new count.
extern "C" VELKC_API int VELKCSzListClean(SzList *pList) noexcept
{
    if (pList == nullptr) {
        return 0;
    }
    int nKept = 0;
    for (int i = 0; i < pList->nItem; ++i) {
        if (!velkc::list::IsHole(pList, pList->pszItem[i])) {
            pList->pszItem[nKept++] = pList->pszItem[i];
        }
    }
    pList->cbFree += velkc::list::kSlotSize * (pList->nItem - nKept);
    pList->nItem = nKept;
    return nKept;
}
