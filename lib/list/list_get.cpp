// VELKCSzListGet: the item at an index.

#include "internal/report.hpp"

#include <velkc/list.h>

extern "C" VELKC_API char *VELKCSzListGet(const SzList *pList, int index) noexcept
{
    if (pList == nullptr || index < 0 || index >= pList->nItem) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    return pList->pszItem[index];
}
