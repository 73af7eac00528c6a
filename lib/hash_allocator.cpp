// VELKCIHashAllocator: a new empty table block of the given sizes.
#include "hash_internal.hpp"
#include "internal.hpp"

extern "C" SzHash *VELKCIHashAllocator(int nSlot, int cbSpace)
{
    if (!velkc::hash::ValidSizes(nSlot, cbSpace)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    SzHash *pHash = velkc::hash::NewBlock<SzHash>(nSlot, cbSpace);
    if (pHash == nullptr) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
    }
    return pHash;
}
