// Block layout, accessors, probing and growth helpers shared by the hash
// table and the hash set. Both keep one heap block: a header (cbSpace,
// cbFree, nSlot, a count, pchNext), nSlot slots whose first field is the key
// pointer, then cbSpace bytes of packed strings, then the slot index
// (hash_slot_index.hpp). Not installed.
#pragma once

#include <velkc/error.h>
#include <velkc/hash.h>
#include <velkc/hashset.h>

#include "hash_slot_index.hpp"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <type_traits>
#include <utility>

namespace velkc::hash {

inline constexpr int kInitSlots = 31;
inline constexpr int kMinSpace = 512;

// A slot that has never held anything since the block was made. A slot
// whose key is null but which is not empty is a tombstone.
inline bool IsEmpty(const SzHashSlot &slot) noexcept { return slot.pszKey == nullptr && slot.pszVal == nullptr; }
inline bool IsEmpty(const SzHashSetSlot &slot) noexcept { return slot.pszKey == nullptr && slot.fUsed == 0; }

// Live entries counted by the header: pairs of a table, items of a set.
inline int &Count(SzHash *p) noexcept { return p->nPair; }
inline int Count(const SzHash *p) noexcept { return p->nPair; }
inline int &Count(SzHashSet *p) noexcept { return p->nItem; }
inline int Count(const SzHashSet *p) noexcept { return p->nItem; }

template <typename Block>
char *StringArea(Block *p) noexcept
{
    return reinterpret_cast<char *>(p->rgSlot + p->nSlot);
}

template <typename Block>
const char *StringArea(const Block *p) noexcept
{
    return reinterpret_cast<const char *>(p->rgSlot + p->nSlot);
}

template <typename Block>
std::size_t BlockBytes(int nSlot, int cbSpace) noexcept
{
    return IndexOffset<Block>(nSlot, cbSpace) + SlotIndex::Bytes(nSlot);
}

// Sets the header of a zero-filled block (or one being emptied).
template <typename Block>
void InitHeader(Block *p, int nSlot, int cbSpace) noexcept
{
    p->cbSpace = cbSpace;
    p->cbFree = cbSpace;
    p->nSlot = nSlot;
    Count(p) = 0;
    p->pchNext = StringArea(p);
}

// A new zero-filled block with an empty header. Null when the sizes are
// refused (no slot, or a negative string area, whose byte count would wrap)
// or calloc fails; *pErr then holds the code that the calling allocator
// records.
template <typename Block>
Block *NewBlock(int nSlot, int cbSpace, unsigned *pErr) noexcept
{
    if (nSlot <= 0 || cbSpace < 0) {
        *pErr = ERR_BAD_PARAMETERS;
        return nullptr;
    }
    auto *p = static_cast<Block *>(std::calloc(1, BlockBytes<Block>(nSlot, cbSpace)));
    if (p == nullptr) {
        *pErr = ERR_OUT_OF_MEMORY;
        return nullptr;
    }
    InitHeader(p, nSlot, cbSpace);
    return p;
}

// Bytes a string of cch characters takes in the string area (with its
// NUL), or -1 when that is more than a block size can express.
inline int StoredSize(std::size_t cch) noexcept
{
    return cch < static_cast<std::size_t>(INT_MAX) ? static_cast<int>(cch + 1) : -1;
}

inline int StoredSize(const char *sz) noexcept { return StoredSize(std::strlen(sz)); }

// Copies sz with its NUL to the next free bytes of the string area and
// returns the copy. The caller has made sure that cb bytes are free.
template <typename Block>
char *StoreString(Block *p, const char *sz, int cb) noexcept
{
    char *pszCopy = p->pchNext;
    std::memcpy(pszCopy, sz, static_cast<std::size_t>(cb));
    p->pchNext += cb;
    p->cbFree -= cb;
    return pszCopy;
}

// True when sz lies inside p's block, so that moving or freeing the block
// would leave it dangling.
template <typename Block>
bool PointsInto(const Block *p, const char *sz) noexcept
{
    const std::less_equal<const void *> le;
    const char *pchEnd = StringArea(p) + p->cbSpace;
    return le(static_cast<const void *>(p), sz) && std::less<const void *>()(sz, pchEnd);
}

// Fewer than a quarter of the slots would stay free. Computed in single
// precision: the exact growth points depend on it.
inline bool SlotsShort(int nSlot, int nUsed) noexcept
{
    const float rFree = static_cast<float>(nSlot - nUsed) / static_cast<float>(nSlot);
    return rFree < 0.25f;
}

// Slot count after growth: 31 -> 119 -> 471 -> 1879 ...
inline long long GrownSlots(int nSlot) noexcept { return 4LL * nSlot - 5; }

// Where a key lives and where it could be written.
struct Probe {
    int found = -1; // the live slot holding the key
    int free = -1;  // the first keyless slot met while probing
};

// Walks the linear probe sequence of szKey from its home slot, once round
// the table. An empty home slot is the free slot; a tombstone at home is
// never chosen, only keyless slots met while probing are. The walk ends at
// the key, at an empty slot or back at home.
template <typename Block>
Probe WalkProbe(const Block *p, const char *szKey, int home) noexcept
{
    Probe r;
    const auto &homeSlot = p->rgSlot[home];
    if (homeSlot.pszKey != nullptr) {
        if (std::strcmp(homeSlot.pszKey, szKey) == 0) {
            r.found = home;
            return r;
        }
    } else if (IsEmpty(homeSlot)) {
        r.free = home;
        return r;
    }
    for (int i = (home + 1) % p->nSlot; i != home; i = (i + 1) % p->nSlot) {
        const auto &slot = p->rgSlot[i];
        if (slot.pszKey != nullptr) {
            if (std::strcmp(slot.pszKey, szKey) == 0) {
                r.found = i;
                return r;
            }
            continue;
        }
        if (r.free < 0) {
            r.free = i;
        }
        if (IsEmpty(slot)) {
            break;
        }
    }
    return r;
}

inline int HomeSlot(const KeyHash &kh, int nSlot) noexcept
{
    return static_cast<int>(kh.sum % static_cast<std::uint32_t>(nSlot));
}

// Whether a key stored in p's string area equals sz, whose length is cb,
// eight bytes at a time and without a call. sz is read only within its
// cb + 1 bytes. The stored key is read in whole groups of eight and may be
// passed by up to seven bytes: a group that holds its NUL where sz has
// none differs and ends the compare, and the block always has those bytes
// (the slot index follows the string area).
inline bool SameStoredKey(const char *pszStored, const char *sz, std::size_t cb) noexcept
{
    const auto *pa = reinterpret_cast<const unsigned char *>(pszStored);
    const auto *pb = reinterpret_cast<const unsigned char *>(sz);
    std::size_t left = cb + 1;
    for (; left >= 8; pa += 8, pb += 8, left -= 8) {
        if (LoadLittleEndian<std::uint64_t>(pa) != LoadLittleEndian<std::uint64_t>(pb)) {
            return false;
        }
    }
    const std::uint64_t tail = (std::uint64_t{1} << (8 * left)) - 1;
    return left == 0 || ((LoadLittleEndian<std::uint64_t>(pa) ^ LoadLittleEndianTail(pb, left)) & tail) == 0;
}

// The live slot holding the key (slot -1 if none) and, with the index
// exact, its entry. With the index exact this is the slot the probe walk
// would reach: keys sit where the walk puts them, and slots never turn
// empty again, so nothing cuts a key off from its home.
template <typename Block>
[[gnu::always_inline]] inline SlotIndex::Hit FindKey(const Block *p, const char *szKey, const KeyHash &kh) noexcept
{
    const SlotIndex ix = IndexOf(p);
    if (!ix.Exact()) {
        return {WalkProbe(p, szKey, HomeSlot(kh, p->nSlot)).found, 0};
    }
    // Most keys live at their home slot unless similar keys crowd it: its
    // load then overlaps the index probe that names the slot. In a block
    // the caches hold it costs a division; in one they have let go of
    // (a large block, or one of many small ones) it saves a miss.
    __builtin_prefetch(&p->rgSlot[HomeSlot(kh, p->nSlot)]);
    return ix.Find(kh, [p, szKey, &kh](int slot) { return SameStoredKey(p->rgSlot[slot].pszKey, szKey, kh.cb); });
}

template <typename Block>
[[gnu::always_inline]] inline int FindSlot(const Block *p, const char *szKey, const KeyHash &kh) noexcept
{
    return FindKey(p, szKey, kh).slot;
}

// Where the walk writes a key that the block does not hold: an empty home
// slot, or the first keyless slot after home (wrapping), or -1 when every
// other slot holds a key.
template <typename Block>
int FreeSlot(const Block *p, const SlotIndex &ix, int home) noexcept
{
    if (IsEmpty(p->rgSlot[home])) {
        return home;
    }
    const int next = ix.NextKeyless(home + 1, p->nSlot);
    return next >= 0 ? next : ix.NextKeyless(0, home);
}

// The slot holding the key, or else the slot the walk would write it to.
template <typename Block>
int SlotForWrite(const Block *p, const char *szKey, const KeyHash &kh) noexcept
{
    const int home = HomeSlot(kh, p->nSlot);
    const SlotIndex ix = IndexOf(p);
    if (!ix.Exact()) {
        const Probe r = WalkProbe(p, szKey, home);
        return r.found >= 0 ? r.found : r.free;
    }
    const int found = FindSlot(p, szKey, kh);
    return found >= 0 ? found : FreeSlot(p, ix, home);
}

template <typename Block>
int SlotForWrite(const Block *p, const char *szKey) noexcept
{
    return szKey == nullptr ? -1 : SlotForWrite(p, szKey, HashKey(szKey));
}

// A caller that picks the slot itself: writing anywhere but where the walk
// would breaks the index's premise, so the block goes back to the walk.
template <typename Block>
void CheckPlacement(Block *p, const char *szKey, const KeyHash &kh, int idx) noexcept
{
    SlotIndex ix = IndexOf(p);
    if (ix.Exact() && SlotForWrite(p, szKey, kh) != idx) {
        ix.UseWalk();
    }
}

inline bool ValidSlot(const SzHash *pHash, int idx) noexcept { return idx >= 0 && idx < pHash->nSlot; }

// Writes the pair into slot idx if its bytes fit in the free space.
void PutPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int idx) noexcept;

// The table's writers behind VELKCInsertNewPair and VELKCVELKIUpdateValue,
// for a key already hashed. AddPair checks a caller's slot against the walk
// unless fTrustedIdx says the slot came from a lookup on this block.
SzHash *AddPair(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx,
                bool fTrustedIdx) noexcept;
SzHash *UpdateValue(SzHash *pHash, const char *szKey, const KeyHash &kh, const char *szValue, int *pIdx) noexcept;

// Calls fn(slot) for every live slot in index order while fn returns true.
// Returns false if fn stopped the walk.
template <typename Block, typename Fn>
bool ForEachLive(Block *p, Fn fn)
{
    for (int i = 0; i < p->nSlot; ++i) {
        if (p->rgSlot[i].pszKey != nullptr && !fn(p->rgSlot[i])) {
            return false;
        }
    }
    return true;
}

// Re-inserts every live entry of src into dst in slot order: put(dst, slot,
// idx, kh) stores a copy of the entry, whose key hashes to kh, at dst's
// write slot idx. Entries for which dst has no slot are skipped; callers
// size dst so that it cannot happen.
template <typename Block, typename Put>
void Rehash(const Block *src, Block *dst, Put put)
{
    // Keys of an exact block are distinct: into an empty exact block each
    // goes straight to its free slot.
    const SlotIndex ixDst = IndexOf(dst);
    const bool fDistinct = IndexOf(src).Exact() && ixDst.Exact() && Count(dst) == 0;
    ForEachLive(src, [&](const SlotOf<const Block> &slot) {
        const KeyHash kh = HashKey(slot.pszKey);
        const int idx = fDistinct ? FreeSlot(dst, ixDst, HomeSlot(kh, dst->nSlot)) : SlotForWrite(dst, slot.pszKey, kh);
        if (idx >= 0) {
            put(dst, slot, idx, kh);
        }
        return true;
    });
}

// Counts the live keys in slot order and, when ppList is given, appends
// each to the list. The count, or -1 if an append fails.
template <typename Block>
int AppendKeys(const Block *p, SzList **ppList)
{
    int n = 0;
    const bool ok = ForEachLive(p, [&](const SlotOf<const Block> &slot) {
        ++n;
        return ppList == nullptr || VELKCSzListPush(ppList, slot.pszKey) >= 0;
    });
    return ok ? n : -1;
}

} // namespace velkc::hash
