// Block layout helpers shared by the string-list sources.
#include "list_internal.hpp"

#include <velkc/unicode.h>

#include <cstdlib>
#include <cstring>

namespace velkc::list {

// The block is cbSize bytes of header, slots and strings, followed by one
// more byte: the NUL that every hole points at. Keeping it outside the
// accounted bytes means a completely full list never overlaps it.
SzList *NewBlock(int cbSize) noexcept
{
    auto *pList = static_cast<SzList *>(std::malloc(static_cast<std::size_t>(cbSize) + 1));
    if (pList == nullptr) {
        return nullptr;
    }
    char *pszEnd = reinterpret_cast<char *>(pList) + cbSize;
    *pszEnd = '\0';
    pList->cbSize = cbSize;
    pList->nItem = 0;
    pList->cbFree = cbSize - kHeaderSize;
    pList->fMode = OP_UNSORTED;
    pList->pszStrEnd = pszEnd;
    pList->pszEmpty = pszEnd;
    return pList;
}

long long LiveBytes(const SzList *pList) noexcept
{
    long long cb = 0;
    for (int i = 0; i < pList->nItem; ++i) {
        const char *psz = pList->pszItem[i];
        cb += kSlotSize + (IsHole(pList, psz) ? 0 : static_cast<long long>(std::strlen(psz)) + 1);
    }
    return cb;
}

SzList *CopyToBlock(const SzList *pList, int cbSize) noexcept
{
    if (cbSize - kHeaderSize < LiveBytes(pList)) {
        return nullptr;
    }
    SzList *pNew = NewBlock(cbSize);
    if (pNew == nullptr) {
        return nullptr;
    }
    pNew->nItem = pList->nItem;
    pNew->fMode = pList->fMode;
    for (int i = 0; i < pList->nItem; ++i) {
        const char *psz = pList->pszItem[i];
        pNew->cbFree -= kSlotSize;
        if (IsHole(pList, psz)) {
            pNew->pszItem[i] = pNew->pszEmpty;
            continue;
        }
        const std::size_t cb = std::strlen(psz) + 1;
        pNew->pszStrEnd -= cb;
        std::memcpy(pNew->pszStrEnd, psz, cb);
        pNew->pszItem[i] = pNew->pszStrEnd;
        pNew->cbFree -= static_cast<int>(cb);
    }
    return pNew;
}

int Compare(const char *pszA, const char *pszB, bool caseless) noexcept
{
    return caseless ? VELKCUnicodeUTF8StrCaseCmp(pszA, pszB) : CompareBytes(pszA, pszB);
}

int ScanFor(const SzList *pList, const char *psz, bool caseless) noexcept
{
    if (caseless) {
        for (int i = 0; i < pList->nItem; ++i) {
            const char *pszItem = pList->pszItem[i];
            if (!IsHole(pList, pszItem) && VELKCUnicodeUTF8StrCaseCmp(psz, pszItem) == 0) {
                return i;
            }
        }
        return -1;
    }
    // Most items differ in their first byte: test it before calling strcmp.
    const char first = *psz;
    for (int i = 0; i < pList->nItem; ++i) {
        const char *pszItem = pList->pszItem[i];
        if (*pszItem == first && !IsHole(pList, pszItem) && (first == '\0' || std::strcmp(pszItem + 1, psz + 1) == 0)) {
            return i;
        }
    }
    return -1;
}

int Lookup(const SzList *pList, const char *psz, bool caseless) noexcept
{
    if (pList->fMode != (caseless ? OP_UNICODE_SORTED : OP_SORTED)) {
        return ScanFor(pList, psz, caseless);
    }
    const int r = caseless ? SearchSlots(pList, pList->nItem - 1, 0, psz, VELKCUnicodeUTF8StrCaseCmp)
                           : SearchSlots(pList, pList->nItem - 1, 0, psz, CompareBytes);
    return r < 0 ? -1 : r;
}

} // namespace velkc::list
