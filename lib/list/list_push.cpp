// VELKCSzListPush: appends a string.

#include <velkc/list.h>

// Insert validates the arguments; the index only matters for a valid list.
extern "C" VELKC_API int VELKCSzListPush(SzList **ppList, const char *sz) noexcept
{
    const int index = (ppList != nullptr && *ppList != nullptr) ? (*ppList)->nItem : 0;
    return VELKCSzListInsert(ppList, index, sz);
}
