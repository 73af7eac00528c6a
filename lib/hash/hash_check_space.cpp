// VELKCICheckSpace: grows the table, before cbNeed more bytes are stored,
// when it is short of free slots or of string space.
#include "hash_internal.hpp"
#include "internal/report.hpp"

#include <climits>

namespace {

// The string area of a grown table: the whole capacity averaged over the
// live pairs, times the free slots, plus what is needed now.
long long GrownSpace(const SzHash *pHash, int cbNeed) noexcept
{
    const long long avg =
        pHash->nPair == 0
            ? cbNeed
            : static_cast<long long>(static_cast<float>(pHash->cbSpace) / static_cast<float>(pHash->nPair));
    return pHash->cbSpace + avg * (pHash->nSlot - pHash->nPair) + cbNeed;
}

} // namespace

// Like every table function but VELKCSzHashPairNum, this reports a null
// table by its result alone, without an error.
extern "C" SzHash *VELKCICheckSpace(SzHash *pHash, int cbNeed) noexcept
{
    if (pHash == nullptr) {
        return nullptr;
    }
    // A negative need stands for texts too long for any block.
    if (cbNeed < 0) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    const bool growSlots = velkc::hash::SlotsShort(pHash->nSlot, pHash->nPair);
    // Equality counts as too little: the area's last byte is never handed out.
    const bool growSpace = pHash->cbFree <= cbNeed;
    if (!growSlots && !growSpace) {
        return pHash;
    }
    const long long nSlot = growSlots ? velkc::hash::GrownSlots(pHash->nSlot) : pHash->nSlot;
    const long long cbSpace = growSpace ? GrownSpace(pHash, cbNeed) : pHash->cbSpace;
    if (nSlot > INT_MAX || cbSpace > INT_MAX) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    return VELKCVELKIReSizeHash(pHash, static_cast<int>(nSlot), static_cast<int>(cbSpace));
}
