// VELKCSzListSortItems: sorts a list and sets its sort mode.

#include <velkc/list.h>

#include <cstdlib>

// Sorts only a list that is unsorted now: an already sorted list merely
// takes the new mode, it is not re-sorted. Mode 0 marks it unsorted.
extern "C" VELKC_API void VELKCSzListSortItems(SzList *pList, int mode) noexcept
{
    if (pList == nullptr) {
        return;
    }
    if (pList->fMode == OP_UNSORTED) {
        int (*pfnCompare)(const void *, const void *) = nullptr;
        if (mode & OP_SORTED) {
            pfnCompare = VELKCSzListStrcmp;
        } else if (mode & OP_UNICODE_SORTED) {
            pfnCompare = VELKCSzListUTF8StrCasecmp;
        }
        if (pfnCompare != nullptr) {
            VELKCSzListClean(pList);
            std::qsort(pList->pszItem, static_cast<std::size_t>(pList->nItem), sizeof(char *), pfnCompare);
        }
    }
    pList->fMode = mode;
}
