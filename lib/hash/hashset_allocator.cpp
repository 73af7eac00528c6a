// VELKCSzHashSetAllocator: a new empty set block of the given sizes.
#include "hash_internal.hpp"
#include "internal/report.hpp"

extern "C" SzHashSet *VELKCSzHashSetAllocator(int nSlot, int cbSpace) noexcept
{
    unsigned err = 0;
    SzHashSet *pSet = velkc::hash::NewBlock<SzHashSet>(nSlot, cbSpace, &err);
    if (pSet == nullptr) {
        VELKC_SET_ERR(err);
    }
    return pSet;
}
