// VELKCSzListPop: removes the last item.

#include <velkc/list.h>

// Remove validates the arguments; the index only matters for a valid list.
extern "C" VELKC_API char *VELKCSzListPop(SzList *pList) noexcept
{
    return VELKCSzListRemove(pList, pList != nullptr ? pList->nItem - 1 : -1);
}
