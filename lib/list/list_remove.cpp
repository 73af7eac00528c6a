// VELKCSzListRemove: takes the item at an index out of the list.
#include "internal/report.hpp"
#include "list_internal.hpp"

#include <cstring>

// The removed string's bytes stay in the block, so the returned pointer is
// valid until the list is grown, emptied or freed.
extern "C" VELKC_API char *VELKCSzListRemove(SzList *pList, int index) noexcept
{
    if (pList == nullptr || index < 0 || index >= pList->nItem) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    char *psz = pList->pszItem[index];
    std::memmove(&pList->pszItem[index], &pList->pszItem[index + 1],
                 sizeof(char *) * static_cast<std::size_t>(pList->nItem - index - 1));
    --pList->nItem;
    pList->cbFree += velkc::list::kSlotSize;
    return psz;
}
