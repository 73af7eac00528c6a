// Block layout, probing and growth helpers shared by the hash table and the
// hash set. Both keep one heap block: a header (cbSpace, cbFree, nSlot, a
// count, pchNext), nSlot slots whose first field is the key pointer, then
// cbSpace bytes of packed strings. Not installed.
#pragma once

#include <velkc/error.h>
#include <velkc/hash.h>
#include <velkc/hashset.h>

#include <climits>
#include <cstddef>
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

template <typename Block>
std::size_t BlockBytes(int nSlot, int cbSpace) noexcept
{
    return sizeof(Block) + static_cast<std::size_t>(nSlot) * sizeof(SlotOf<Block>) + static_cast<std::size_t>(cbSpace);
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
Probe ProbeFor(const Block *p, const char *szKey) noexcept
{
    Probe r;
    const int home = VELKCRadixHashCode(szKey, static_cast<unsigned>(p->nSlot));
    if (home < 0) {
        return r;
    }
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

// The slot holding the key, or else the slot it would be written to; -1.
template <typename Block>
int SlotForWrite(const Block *p, const char *szKey) noexcept
{
    const Probe r = ProbeFor(p, szKey);
    return r.found >= 0 ? r.found : r.free;
}

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
// idx) stores a copy of the entry at dst's write slot idx. Entries for which
// dst has no slot are skipped; callers size dst so that it cannot happen.
template <typename Block, typename Put>
void Rehash(const Block *src, Block *dst, Put put)
{
    ForEachLive(src, [&](const SlotOf<const Block> &slot) {
        const int idx = SlotForWrite(dst, slot.pszKey);
        if (idx >= 0) {
            put(dst, slot, idx);
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
