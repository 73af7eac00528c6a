// VELKCSzHashSetLookDict: the one lookup of the set, for adding, testing and
// removing. A returned slot holding a key holds the item; one without a key
// is where the item would go.
#include "hash_internal.hpp"

extern "C" int VELKCSzHashSetLookDict(const SzHashSet *pSet, const char *szItem) noexcept
{
    if (pSet == nullptr) {
        return -1;
    }
    return velkc::hash::SlotForWrite(pSet, szItem);
}
