// VELKCSzListUnshift: inserts a string at the front.

#include <velkc/list.h>

extern "C" VELKC_API int VELKCSzListUnshift(SzList **ppList, const char *sz) noexcept
{
    return VELKCSzListInsert(ppList, 0, sz);
}
