// VELKCHashRemoveAll: empty the table, keeping its slots as tombstones.
#include "hash_internal.hpp"

// Every slot ever used stays a tombstone, so lookups keep probing through
// them until the table is next resized. The string area is handed out anew.
extern "C" void VELKCHashRemoveAll(SzHash *pHash) noexcept
{
    if (pHash == nullptr) {
        return;
    }
    velkc::hash::ForEachLive(pHash, [](SzHashSlot &slot) {
        slot.pszKey = nullptr;
        return true;
    });
    velkc::hash::ClearIndex(pHash);
    pHash->nPair = 0;
    pHash->cbFree = pHash->cbSpace;
    pHash->pchNext = velkc::hash::StringArea(pHash);
}
