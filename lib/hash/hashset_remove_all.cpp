// VELKCSzHashSetRemoveAll: empty the set completely, tombstones included.
#include "hash_internal.hpp"

#include <cstring>

extern "C" void VELKCSzHashSetRemoveAll(SzHashSet *pSet) noexcept
{
    if (pSet == nullptr) {
        return;
    }
    const int nSlot = pSet->nSlot;
    const int cbSpace = pSet->cbSpace;
    std::memset(static_cast<void *>(pSet), 0, velkc::hash::BlockBytes<SzHashSet>(nSlot, cbSpace));
    velkc::hash::InitHeader(pSet, nSlot, cbSpace);
}
