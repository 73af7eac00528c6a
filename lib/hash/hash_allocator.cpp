// VELKCIHashAllocator: a new empty table block of the given sizes.
#include "hash_internal.hpp"
#include "internal/report.hpp"

extern "C" SzHash *VELKCIHashAllocator(int nSlot, int cbSpace) noexcept
{
    unsigned err = 0;
    SzHash *pHash = velkc::hash::NewBlock<SzHash>(nSlot, cbSpace, &err);
    if (pHash == nullptr) {
        VELKC_SET_ERR(err);
    }
    return pHash;
}
