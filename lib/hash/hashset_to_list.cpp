// VELKCSzHashSetToList: append every item to a list, in slot order.
#include "hash_internal.hpp"
#include "internal/report.hpp"

extern "C" int VELKCSzHashSetToList(const SzHashSet *pSet, SzList **ppList) noexcept
{
    if (pSet == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (pSet->nItem == 0) {
        return 0;
    }
    return velkc::hash::AppendKeys(pSet, ppList) < 0 ? -1 : 0;
}
