// VELKCSzHashSetRemove: turn the item's slot into a tombstone.
#include "internal.hpp"

#include <velkc/hashset.h>

// Removing an absent item is not an error. The item's bytes stay behind
// until the set is rebuilt.
extern "C" int VELKCSzHashSetRemove(SzHashSet *pSet, const char *szItem) noexcept
{
    if (pSet == nullptr || szItem == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const int idx = VELKCSzHashSetLookDict(pSet, szItem);
    if (idx >= 0 && pSet->rgSlot[idx].pszKey != nullptr) {
        pSet->rgSlot[idx].pszKey = nullptr; // fUsed stays set
        --pSet->nItem;
    }
    return 0;
}
