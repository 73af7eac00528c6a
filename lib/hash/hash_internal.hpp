// Block layout, probing and growth helpers shared by the hash table and the
// hash set. Both keep one heap block: a header (cbSpace, cbFree, nSlot, a
// count, pchNext), nSlot slots whose first field is the key pointer, then
// cbSpace bytes of packed strings, then the slot index (SlotIndex). Not
// installed.
#pragma once

#include <velkc/error.h>
#include <velkc/hash.h>
#include <velkc/hashset.h>

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
using SlotOf = std::remove_reference_t<decltype(std::declval<Block>().rgSlot[0])>;

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

// Both codes of a key, from one pass over its bytes: `sum` is the 32-bit
// word sum that places the key (its home slot is sum % nSlot); `mix` is a
// well-spread hash that only the slot index below uses.
struct KeyHash {
    std::uint32_t sum = 0;
    std::uint64_t mix = 0;
};

KeyHash HashKey(const char *sz) noexcept;

// The slot index: an accelerator kept after the string area of every block.
// Linear probing from the word-sum home slot decides where each key lives,
// and similar keys crowd that probe into long runs; the index finds a key's
// slot, or its absence, in O(1) whatever the runs look like:
//  - `entry`: open addressing over `mix`, one 32-bit entry per live slot,
//    the slot number + 1 in the low bits and, in the high bits, how far the
//    entry sits from its own home entry, which tells entries of other homes
//    apart without touching their keys; 0 is a free entry. Deletion shifts
//    entries back, so churn leaves no debris behind.
//  - `live`: one bit per slot that holds a key, and `full`: one bit per
//    `live` word with every bit set, to find the next keyless slot (the one
//    a new key takes) in a few word reads.
// All of it is zero in a new or emptied block. It stays exact as long as
// every key sits where the probe walk puts it; a caller that writes a pair
// into some other slot through the exported internals, or an entry that
// lands too far from its home for the bits left (keys built to collide in
// `mix`), switches the block to the plain walk (`fWalk`) until the block is
// rebuilt or emptied.
struct SlotIndex {
    std::uint64_t *pFlags;
    std::uint64_t *live;
    std::uint64_t *full;
    std::uint32_t *entry;
    int nSlot;
    int nWord;
    int nSummary;
    int slotBits;
    std::uint32_t mask;

    static constexpr std::uint64_t fWalk = 1;

    static int Words(int nSlot) noexcept { return (nSlot + 63) / 64; }
    static int Summaries(int nSlot) noexcept { return (Words(nSlot) + 63) / 64; }
    static int SlotBits(int nSlot) noexcept { return std::bit_width(static_cast<std::uint32_t>(nSlot)); }
    // More entries than slots, so that a probe always meets a free entry.
    static std::size_t Entries(int nSlot) noexcept { return std::size_t{1} << SlotBits(nSlot); }
    static std::size_t Bytes(int nSlot) noexcept
    {
        return 8 * (1 + static_cast<std::size_t>(Words(nSlot) + Summaries(nSlot))) + 4 * Entries(nSlot);
    }

    SlotIndex(void *pAux, int nSlotIn) noexcept
        : pFlags(static_cast<std::uint64_t *>(pAux)), live(pFlags + 1), full(nullptr), entry(nullptr), nSlot(nSlotIn),
          nWord(Words(nSlotIn)), nSummary(Summaries(nSlotIn)), slotBits(SlotBits(nSlotIn)),
          mask(static_cast<std::uint32_t>(Entries(nSlotIn) - 1))
    {
        full = live + nWord;
        entry = reinterpret_cast<std::uint32_t *>(full + nSummary);
    }

    bool Exact() const noexcept { return (*pFlags & fWalk) == 0; }
    void UseWalk() noexcept { *pFlags |= fWalk; }

    std::uint32_t Home(const KeyHash &kh) const noexcept { return static_cast<std::uint32_t>(kh.mix) & mask; }
    int SlotOf(std::uint32_t e) const noexcept
    {
        return static_cast<int>(e & ((std::uint32_t{1} << slotBits) - 1)) - 1;
    }
    // How far entry e at pos sits from its home entry.
    std::uint32_t Distance(std::uint32_t e) const noexcept { return e >> slotBits; }
    std::uint32_t Gap(std::uint32_t from, std::uint32_t to) const noexcept { return (to - from) & mask; }
    std::uint32_t Entry(int slot, std::uint32_t distance) const noexcept
    {
        return (distance << slotBits) | static_cast<std::uint32_t>(slot + 1);
    }

    void SetLive(int i) noexcept
    {
        const int w = i / 64;
        live[w] |= std::uint64_t{1} << (i % 64);
        if (live[w] == ~std::uint64_t{0}) {
            full[w / 64] |= std::uint64_t{1} << (w % 64);
        }
    }
    void SetKeyless(int i) noexcept
    {
        const int w = i / 64;
        live[w] &= ~(std::uint64_t{1} << (i % 64));
        full[w / 64] &= ~(std::uint64_t{1} << (w % 64));
    }

    // The first `live` word at or after w with a clear bit, or nWord.
    int NextOpenWord(int w) const noexcept
    {
        if (w >= nWord) {
            return nWord;
        }
        int s = w / 64;
        std::uint64_t open = ~full[s] & (~std::uint64_t{0} << (w % 64));
        while (open == 0) {
            if (++s >= nSummary) {
                return nWord;
            }
            open = ~full[s];
        }
        return std::min(nWord, s * 64 + std::countr_zero(open));
    }

    // The first keyless slot in [from, to), or -1.
    int NextKeyless(int from, int to) const noexcept
    {
        if (from >= to) {
            return -1;
        }
        int w = from / 64;
        std::uint64_t open = ~live[w] & (~std::uint64_t{0} << (from % 64));
        while (open == 0) {
            w = NextOpenWord(w + 1);
            if (w >= nWord) {
                return -1;
            }
            open = ~live[w];
        }
        const int i = w * 64 + std::countr_zero(open);
        return i < to ? i : -1;
    }

    void Insert(const KeyHash &kh, int slot) noexcept
    {
        const std::uint32_t home = Home(kh);
        std::uint32_t pos = home;
        while (entry[pos] != 0) {
            pos = (pos + 1) & mask;
        }
        const std::uint32_t distance = Gap(home, pos);
        if (distance >> (32 - slotBits) != 0) {
            UseWalk();
            return;
        }
        entry[pos] = Entry(slot, distance);
    }

    // Removes slot's entry and shifts later entries of its run back into
    // the hole, each as far as its home allows.
    void Erase(const KeyHash &kh, int slot) noexcept
    {
        std::uint32_t hole = Home(kh);
        while (SlotOf(entry[hole]) != slot) {
            hole = (hole + 1) & mask;
        }
        for (std::uint32_t j = (hole + 1) & mask; entry[j] != 0; j = (j + 1) & mask) {
            const std::uint32_t distance = Distance(entry[j]);
            const std::uint32_t shift = Gap(hole, j);
            if (distance >= shift) { // its home is not after the hole
                entry[hole] = Entry(SlotOf(entry[j]), distance - shift);
                hole = j;
            }
        }
        entry[hole] = 0;
    }
};

// Where a block's string area ends and its slot index begins.
template <typename Block>
std::size_t IndexOffset(int nSlot, int cbSpace) noexcept
{
    const std::size_t cb =
        sizeof(Block) + static_cast<std::size_t>(nSlot) * sizeof(SlotOf<Block>) + static_cast<std::size_t>(cbSpace);
    return (cb + 7) & ~std::size_t{7};
}

template <typename Block>
std::size_t BlockBytes(int nSlot, int cbSpace) noexcept
{
    return IndexOffset<Block>(nSlot, cbSpace) + SlotIndex::Bytes(nSlot);
}

template <typename Block>
SlotIndex IndexOf(const Block *p) noexcept
{
    // The index is derived state: const lookups read it, writers keep it.
    auto *pb = reinterpret_cast<unsigned char *>(const_cast<Block *>(p));
    return SlotIndex(pb + IndexOffset<Block>(p->nSlot, p->cbSpace), p->nSlot);
}

// Empties the index of a block whose slots were all made keyless.
template <typename Block>
void ClearIndex(Block *p) noexcept
{
    std::memset(IndexOf(p).pFlags, 0, SlotIndex::Bytes(p->nSlot));
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

// Bytes a string takes in the string area (with its NUL), or -1 when that
// is more than a block size can express.
inline int StoredSize(const char *sz) noexcept
{
    const std::size_t cb = std::strlen(sz) + 1;
    return cb <= static_cast<std::size_t>(INT_MAX) ? static_cast<int>(cb) : -1;
}

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

// The live slot holding the key, or -1. With the index exact this is the
// slot the probe walk would reach: keys sit where the walk puts them, and
// slots never turn empty again, so nothing cuts a key off from its home.
template <typename Block>
int FindSlot(const Block *p, const char *szKey, const KeyHash &kh) noexcept
{
    const SlotIndex ix = IndexOf(p);
    if (!ix.Exact()) {
        return WalkProbe(p, szKey, HomeSlot(kh, p->nSlot)).found;
    }
    // Most keys live at their home slot unless similar keys crowd it: its
    // load then overlaps the index probe that names the slot.
    __builtin_prefetch(&p->rgSlot[HomeSlot(kh, p->nSlot)]);
    const std::uint32_t home = ix.Home(kh);
    for (std::uint32_t pos = home; ix.entry[pos] != 0; pos = (pos + 1) & ix.mask) {
        const std::uint32_t e = ix.entry[pos];
        if (ix.Distance(e) == ix.Gap(home, pos)) {
            const int slot = ix.SlotOf(e);
            if (std::strcmp(p->rgSlot[slot].pszKey, szKey) == 0) {
                return slot;
            }
        }
    }
    return -1;
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

// Records that slot idx now holds a key whose hash is kh. Call after the
// slot's key is set; a slot that already held a key keeps its entry.
template <typename Block>
void IndexKey(Block *p, int idx, const KeyHash &kh, bool wasLive) noexcept
{
    SlotIndex ix = IndexOf(p);
    if (ix.Exact() && !wasLive) {
        ix.SetLive(idx);
        ix.Insert(kh, idx);
    }
}

// Makes live slot idx, whose key hashes to kh, a tombstone.
template <typename Block>
void DropKey(Block *p, int idx, const KeyHash &kh) noexcept
{
    SlotIndex ix = IndexOf(p);
    if (ix.Exact()) {
        ix.SetKeyless(idx);
        ix.Erase(kh, idx);
    }
    p->rgSlot[idx].pszKey = nullptr;
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
