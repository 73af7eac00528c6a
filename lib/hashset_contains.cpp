// VELKCSzHashSetContains: 1 if the item is in the set, else 0.
#include <velkc/hashset.h>

extern "C" int VELKCSzHashSetContains(const SzHashSet *pSet, const char *szItem) noexcept
{
    const int idx = VELKCSzHashSetLookDict(pSet, szItem);
    return idx >= 0 && pSet->rgSlot[idx].pszKey != nullptr ? 1 : 0;
}
