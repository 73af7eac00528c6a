// VELKCISzHashSetIndexCheck: whether a set's slot index says what its
// slots say.
#include "hash_internal.hpp"
#include "internal/report.hpp"

extern "C" int VELKCISzHashSetIndexCheck(const SzHashSet *pSet) noexcept
{
    if (pSet == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    return velkc::hash::IndexMatchesSlots(pSet) ? 1 : 0;
}
