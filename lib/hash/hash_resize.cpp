// VELKCVELKIReSizeHash: moves the table's live pairs into a new block of
// the given sizes.
#include <velkc/hash.h>

#include <cstdlib>

// On failure the old block is left as it was, so that the caller's handle
// stays valid.
extern "C" SzHash *VELKCVELKIReSizeHash(SzHash *pHash, int nSlot, int cbSpace) noexcept
{
    if (pHash == nullptr) {
        return nullptr;
    }
    SzHash *pNew = VELKCIHashAllocator(nSlot, cbSpace);
    if (pNew == nullptr) {
        return nullptr;
    }
    VELKCCopyHash(pHash, pNew);
    std::free(pHash);
    return pNew;
}
