// VELKCSzListShift: removes the first item.
#include "internal.hpp"

#include <velkc/list.h>

extern "C" VELKC_API char *VELKCSzListShift(SzList *pList) { return VELKCSzListRemove(pList, 0); }
