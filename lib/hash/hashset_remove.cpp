// VELKCSzHashSetRemove: turn the item's slot into a tombstone.
#include "hash_internal.hpp"
#include "internal/report.hpp"

// Removing an absent item is not an error. The item's bytes stay behind
// until the set is rebuilt; fUsed stays set.
extern "C" int VELKCSzHashSetRemove(SzHashSet *pSet, const char *szItem) noexcept
{
    if (pSet == nullptr || szItem == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const velkc::hash::SlotIndex::Hit hit = velkc::hash::FindKey(pSet, szItem, velkc::hash::HashKey(szItem));
    if (hit.slot >= 0) {
        velkc::hash::DropKey(pSet, hit);
        --pSet->nItem;
    }
    return 0;
}
