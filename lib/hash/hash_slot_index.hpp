// The slot index of the hash table and the hash set: where a key's slot
// is, found without walking the probe sequence, kept after the string area
// of every block, and a check that it says what the slots say.
#pragma once

#include "hash_key.hpp"

#include <velkc/hash.h>
#include <velkc/hashset.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace velkc::hash {

template <typename Block>
using SlotOf = std::remove_reference_t<decltype(std::declval<Block>().rgSlot[0])>;

// The slot index: an accelerator kept after the string area of every block.
// Linear probing from the word-sum home slot decides where each key lives,
// and similar keys crowd that probe into long runs; the index finds a key's
// slot, or its absence, in O(1) whatever the runs look like:
//  - `entry`: open addressing over `mix` in Robin Hood order (an entry
//    never sits further from its home than the entry it passed), one 32-bit
//    entry per live slot, 0 for a free one. From the low bits up an entry
//    holds the slot number + 1, how far it sits from its home entry (at
//    most kMaxDistance), and as many bits of the key's `mix` as are left
//    (its tag). A lookup reads the entries from its home on and compares
//    the key only where distance and tag both match, and stops at the first
//    entry closer to its own home than the lookup has come: a miss, and
//    nearly every entry of another key, is settled without touching a key.
//    Deletion shifts the entries after it back, so churn leaves no debris.
//  - `live`: one bit per slot that holds a key, and `full`: one bit per
//    `live` word with every bit set, to find the next keyless slot (the one
//    a new key takes) in a few word reads.
// All of it is zero in a new or emptied block. It stays exact as long as
// every key sits where the probe walk puts it; a caller that writes a pair
// into some other slot through the exported internals, or an entry that
// would land further than kMaxDistance from its home (a table filled far
// past its growth point, or keys built to collide in `mix`), switches the
// block to the plain walk (`fWalk`) until the block is rebuilt or emptied.
struct SlotIndex {
    std::uint64_t *pFlags;
    std::uint64_t *live;
    std::uint64_t *full;
    std::uint32_t *entry;
    int nSlot;
    int nWord;
    int nSummary;
    int slotBits;
    int distanceBits;
    int tagBits;
    std::uint32_t mask;

    static constexpr std::uint64_t fWalk = 1;
    // Robin Hood keeps entries close to home: at the index's load (below
    // 0.75) the furthest of millions of entries sits some 25 away.
    static constexpr int kDistanceBits = 6;

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
          distanceBits(std::min(32 - slotBits, kDistanceBits)), tagBits(32 - slotBits - distanceBits),
          mask(static_cast<std::uint32_t>(Entries(nSlotIn) - 1))
    {
        full = live + nWord;
        entry = reinterpret_cast<std::uint32_t *>(full + nSummary);
    }

    bool Exact() const noexcept { return (*pFlags & fWalk) == 0; }
    void UseWalk() noexcept { *pFlags |= fWalk; }

    std::uint32_t MaxDistance() const noexcept { return (std::uint32_t{1} << distanceBits) - 1; }
    std::uint32_t Home(const KeyHash &kh) const noexcept { return static_cast<std::uint32_t>(kh.mix) & mask; }
    // The bits above the slot number of kh's entry at its home: the tag
    // (the top bits of mix, which Home does not use) over distance 0.
    std::uint32_t HomeHigh(const KeyHash &kh) const noexcept
    {
        return tagBits == 0 ? 0 : static_cast<std::uint32_t>(kh.mix >> (64 - tagBits)) << distanceBits;
    }
    int SlotOf(std::uint32_t e) const noexcept
    {
        return static_cast<int>(e & ((std::uint32_t{1} << slotBits) - 1)) - 1;
    }
    std::uint32_t High(std::uint32_t e) const noexcept { return e >> slotBits; }
    // How far entry e sits from its home entry.
    std::uint32_t Distance(std::uint32_t e) const noexcept { return High(e) & MaxDistance(); }
    std::uint32_t Entry(int slot, std::uint32_t high) const noexcept
    {
        return (high << slotBits) | static_cast<std::uint32_t>(slot + 1);
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

    // Where a lookup ended: the slot it found (-1 for none) and the entry
    // that names it, which an erase then needs not search for again.
    struct Hit {
        int slot = -1;
        std::uint32_t pos = 0;
    };

    // The first entry of kh's home and tag for whose slot same(slot) holds.
    // An entry at gap g from the lookup's home belongs to the same home
    // exactly when its distance is g; once an entry's distance is below the
    // gap, Robin Hood order says that no entry of this home follows.
    template <typename Same>
    Hit Find(const KeyHash &kh, Same same) const noexcept
    {
        const std::uint32_t want = HomeHigh(kh);
        std::uint32_t pos = Home(kh);
        for (std::uint32_t gap = 0;; ++gap, pos = (pos + 1) & mask) {
            const std::uint32_t e = entry[pos];
            if (e == 0 || Distance(e) < gap) {
                return {};
            }
            if (High(e) == want + gap && same(SlotOf(e))) {
                return {SlotOf(e), pos};
            }
        }
    }

    // Adds slot's entry, passing every entry that sits closer to its home
    // than the new one has come and carrying that entry on instead.
    void Insert(const KeyHash &kh, int slot) noexcept
    {
        std::uint32_t pos = Home(kh);
        std::uint32_t carry = Entry(slot, HomeHigh(kh));
        const std::uint32_t step = std::uint32_t{1} << slotBits;
        for (std::uint32_t distance = 0;; pos = (pos + 1) & mask) {
            const std::uint32_t e = entry[pos];
            if (e == 0) {
                entry[pos] = carry;
                return;
            }
            if (Distance(e) < distance) {
                entry[pos] = carry;
                carry = e;
                distance = Distance(e);
            }
            if (++distance > MaxDistance()) {
                UseWalk();
                return;
            }
            carry += step;
        }
    }

    // True when a lookup of a key that hashes to kh finds slot's entry.
    bool Finds(const KeyHash &kh, int slot) const noexcept
    {
        return Find(kh, [slot](int s) { return s == slot; }).slot == slot;
    }

    // Removes the entry at pos and shifts the entries after it back by one,
    // up to the first that sits at its home.
    void Erase(std::uint32_t pos) noexcept
    {
        std::uint32_t hole = pos;
        const std::uint32_t step = std::uint32_t{1} << slotBits;
        for (std::uint32_t j = (hole + 1) & mask; entry[j] != 0 && Distance(entry[j]) != 0; j = (j + 1) & mask) {
            entry[hole] = entry[j] - step;
            hole = j;
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
[[gnu::always_inline]] inline SlotIndex IndexOf(const Block *p) noexcept
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

// Makes the live slot that a lookup found a tombstone.
template <typename Block>
void DropKey(Block *p, const SlotIndex::Hit &hit) noexcept
{
    SlotIndex ix = IndexOf(p);
    if (ix.Exact()) {
        ix.SetKeyless(hit.slot);
        ix.Erase(hit.pos);
    }
    p->rgSlot[hit.slot].pszKey = nullptr;
}

// Rebuilds what the index must hold from the slots and compares: a live bit
// for exactly the slots that hold a key, a full bit for exactly the words
// of live bits that are full, and for every slot that holds a key an entry
// that a lookup from its key's home finds, with no entry beside. An index
// that the block no longer keeps (it walks) holds nothing to compare.
template <typename Block>
bool IndexMatchesSlots(const Block *p) noexcept
{
    const SlotIndex ix = IndexOf(p);
    if (!ix.Exact()) {
        return true;
    }
    std::size_t keys = 0;
    for (int i = 0; i < p->nSlot; ++i) {
        const bool holds = p->rgSlot[i].pszKey != nullptr;
        if (holds != (((ix.live[i / 64] >> (i % 64)) & 1) != 0) ||
            (holds && !ix.Finds(HashKey(p->rgSlot[i].pszKey), i))) {
            return false;
        }
        keys += holds;
    }
    if (p->nSlot % 64 != 0 && (ix.live[ix.nWord - 1] >> (p->nSlot % 64)) != 0) {
        return false;
    }
    for (int w = 0; w < ix.nWord; ++w) {
        if ((ix.live[w] == ~std::uint64_t{0}) != (((ix.full[w / 64] >> (w % 64)) & 1) != 0)) {
            return false;
        }
    }
    std::size_t entries = 0;
    for (std::uint32_t e = 0; e <= ix.mask; ++e) {
        entries += ix.entry[e] != 0;
    }
    return entries == keys;
}

} // namespace velkc::hash
