// VELKCSzListFree: releases a list.
#include "internal.hpp"

#include <velkc/list.h>

extern "C" VELKC_API void VELKCSzListFree(SzList *pList) noexcept { std::free(pList); }
