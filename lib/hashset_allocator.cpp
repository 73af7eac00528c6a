// VELKCSzHashSetAllocator: a new empty set block of the given sizes.
#include "hash_internal.hpp"
#include "internal.hpp"

extern "C" SzHashSet *VELKCSzHashSetAllocator(int nSlot, int cbSpace)
{
    if (!velkc::hash::ValidSizes(nSlot, cbSpace)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    SzHashSet *pSet = velkc::hash::NewBlock<SzHashSet>(nSlot, cbSpace);
    if (pSet == nullptr) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
    }
    return pSet;
}
