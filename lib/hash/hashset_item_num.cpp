// VELKCSzHashSetItemNum: the number of items.

#include "internal/report.hpp"

#include <velkc/hashset.h>

extern "C" int VELKCSzHashSetItemNum(const SzHashSet *pSet) noexcept
{
    if (pSet == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    return pSet->nItem;
}
