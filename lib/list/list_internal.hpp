// Block layout helpers shared by the string-list sources. Not installed.
#pragma once

#include <velkc/list.h>

#include <cstddef>
#include <cstring>

namespace velkc::list {

inline constexpr int kHeaderSize = 32;
inline constexpr int kSlotSize = static_cast<int>(sizeof(char *));
inline constexpr int kMinSize = 512;
static_assert(sizeof(SzList) == kHeaderSize, "the list header is 32 bytes");

// A slot pointing at the block's shared empty string is a hole, not an item.
inline bool IsHole(const SzList *pList, const char *psz) noexcept { return psz == pList->pszEmpty; }

// Lists whose items are kept in an order that binary search can rely on.
inline bool IsSortedMode(int mode) noexcept { return mode == OP_SORTED || mode == OP_UNICODE_SORTED; }

// A new empty block of cbSize bytes, or null. Records no error.
SzList *NewBlock(int cbSize) noexcept;

// A new block of cbSize bytes holding pList's items in order, strings
// repacked with the first item at the top; pList itself is left alone.
// Null if cbSize is too small or the allocation fails. Records no error.
SzList *CopyToBlock(const SzList *pList, int cbSize) noexcept;

// Bytes the slots and strings of pList would take once repacked.
long long LiveBytes(const SzList *pList) noexcept;

// Compares two strings as -1, 0 or 1, by bytes or caseless (UTF-8, through
// the collator); -2 when the caseless compare fails.
int Compare(const char *pszA, const char *pszB, bool caseless) noexcept;

// Byte order as -1, 0 or 1: inline, for the loops that call it per item.
inline int CompareBytes(const char *pszA, const char *pszB) noexcept
{
    const int r = std::strcmp(pszA, pszB);
    return (r > 0) - (r < 0);
}

// Binary search of slots lo..hi with compare(key, item) giving -1, 0, 1 or
// -2 (failure, which ends the search at the current lower bound). Returns
// the index of an equal item or the complement of the insertion point.
template <typename Cmp>
int SearchSlots(const SzList *pList, int hi, int lo, const char *psz, Cmp compare) noexcept
{
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const int r = compare(psz, pList->pszItem[mid]);
        if (r == -2) {
            return ~lo;
        }
        if (r == 0) {
            return mid;
        }
        if (r > 0) {
            lo = mid + 1;
        } else {
            hi = mid - 1;
        }
    }
    return ~lo;
}

// Index of the first non-hole item equal to psz, scanning in order, or -1.
int ScanFor(const SzList *pList, const char *psz, bool caseless) noexcept;

// Find for lists sorted in the matching order, a scan for the others; -1
// when absent. The caller has checked the arguments.
int Lookup(const SzList *pList, const char *psz, bool caseless) noexcept;

} // namespace velkc::list
