// VELKCSzListShift: removes the first item.

#include <velkc/list.h>

extern "C" VELKC_API char *VELKCSzListShift(SzList *pList) noexcept { return VELKCSzListRemove(pList, 0); }
