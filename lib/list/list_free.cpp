// VELKCSzListFree: releases a list.
#include <velkc/list.h>

#include <cstdlib>

extern "C" VELKC_API void VELKCSzListFree(SzList *pList) noexcept { std::free(pList); }
