// VELKCSzHashSetContains: 1 if the item is in the set, else 0.
#include "hash_internal.hpp"

extern "C" int VELKCSzHashSetContains(const SzHashSet *pSet, const char *szItem) noexcept
{
    if (pSet == nullptr || szItem == nullptr) {
        return 0;
    }
    return velkc::hash::FindSlot(pSet, szItem, velkc::hash::HashKey(szItem)) >= 0 ? 1 : 0;
}
