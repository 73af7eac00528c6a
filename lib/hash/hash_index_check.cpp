// VELKCISzHashIndexCheck: whether a table's slot index says what its slots
// say.
#include "hash_internal.hpp"
#include "internal/report.hpp"

extern "C" int VELKCISzHashIndexCheck(const SzHash *pHash) noexcept
{
    if (pHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    return velkc::hash::IndexMatchesSlots(pHash) ? 1 : 0;
}
