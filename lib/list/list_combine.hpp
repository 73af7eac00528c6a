// The building blocks of And and Or: where the result goes, and the two
// walks over list1 (filtering, and merging with a sorted list2). Not
// installed.
#pragma once

#include "list_internal.hpp"

namespace velkc::list {

// What a visit asks of the walk: keep the item, remove it from list1 (in
// place only), or stop because a push failed.
enum class Visit { Keep, Remove, Fail };

// The result of an And or Or. Flag OP_NEW_LIST builds a new list and leaves
// both inputs alone; any other flag works on list1, cleaned of holes first,
// and only flag 0 allows removing from it.
class CombineTarget {
public:
    CombineTarget(SzList **ppList1, int flag, int cbNew) noexcept : fNew_(flag == OP_NEW_LIST), fRemove_(flag == 0)
    {
        if (fNew_) {
            pNew_ = VELKCSzListAlloc(cbNew);
            ppResult_ = &pNew_;
        } else {
            VELKCSzListClean(*ppList1);
            ppResult_ = ppList1;
        }
    }
    // A new list that was not handed out (a failure) is freed.
    ~CombineTarget() { VELKCSzListFree(pNew_); }
    CombineTarget(const CombineTarget &) = delete;
    CombineTarget &operator=(const CombineTarget &) = delete;

    bool Ready() const noexcept { return *ppResult_ != nullptr; }
    bool IsNew() const noexcept { return fNew_; }
    // The result list's handle; pushes may move the list.
    SzList **Handle() noexcept { return ppResult_; }

    Visit Push(const char *psz) noexcept { return VELKCSzListPush(ppResult_, psz) >= 0 ? Visit::Keep : Visit::Fail; }
    Visit PushIfNew(const char *psz) noexcept { return fNew_ ? Push(psz) : Visit::Keep; }
    Visit RemoveIfAllowed() const noexcept { return fRemove_ ? Visit::Remove : Visit::Keep; }

    // Pushes every item of pList that is not a hole.
    bool PushAll(const SzList *pList) noexcept;

    // Hands the result to the caller.
    SzList *Release() noexcept
    {
        SzList *pResult = *ppResult_;
        pNew_ = nullptr;
        return pResult;
    }

private:
    bool fNew_;
    bool fRemove_;
    SzList *pNew_ = nullptr;
    SzList **ppResult_;
};

// Bytes of the block in use: what a copy of the list needs at most.
inline int UsedBytes(const SzList *pList) noexcept { return pList->cbSize - pList->cbFree; }

// An unsorted list combines with any other; two sorted ones must agree.
inline bool ModesCompatible(const SzList *pList1, const SzList *pList2) noexcept
{
    return pList1->fMode == OP_UNSORTED || pList2->fMode == OP_UNSORTED || pList1->fMode == pList2->fMode;
}

// Calls fnVisit(psz) on each item of pList that is not a hole, in order.
// False if a visit failed.
template <typename FnVisit>
bool ForEachItem(const SzList *pList, FnVisit fnVisit)
{
    for (int i = 0; i < pList->nItem; ++i) {
        const char *psz = pList->pszItem[i];
        if (!IsHole(pList, psz) && fnVisit(psz) == Visit::Fail) {
            return false;
        }
    }
    return true;
}

inline bool CombineTarget::PushAll(const SzList *pList) noexcept
{
    return ForEachItem(pList, [this](const char *psz) { return Push(psz); });
}

// Calls fnVisit(psz) on each of the first n items of pList that is not a
// hole, in order, removing the item when asked. False if a visit failed.
template <typename FnVisit>
bool FilterItems(SzList *pList, int n, FnVisit fnVisit)
{
    for (int i = 0; i < n;) {
        const char *psz = pList->pszItem[i];
        const Visit visit = IsHole(pList, psz) ? Visit::Keep : fnVisit(psz);
        if (visit == Visit::Fail) {
            return false;
        }
        if (visit == Visit::Remove) {
            VELKCSzListRemove(pList, i);
            --n;
        } else {
            ++i;
        }
    }
    return true;
}

// The next slot at or after i, below n, that is not a hole.
inline int SkipHoles(const SzList *pList, int i, int n) noexcept
{
    while (i < n && IsHole(pList, pList->pszItem[i])) {
        ++i;
    }
    return i;
}

// Walks the first n1 items of *ppList1 and all of pList2 together, both
// sorted by the same compare, skipping holes:
//   fnLeft(i)     list1's item comes first, or list2 is exhausted; may
//                 remove item i
//   fnBoth(i, j)  the two items are equal
//   fnRight(j)    list2's item comes first, or list1 is exhausted
// List1 is read through its handle because the visits may grow it. False
// if a compare or a visit failed.
template <typename FnLeft, typename FnBoth, typename FnRight>
bool MergeWalk(SzList *const *ppList1, int n1, const SzList *pList2, bool caseless, FnLeft fnLeft, FnBoth fnBoth,
               FnRight fnRight)
{
    const int n2 = pList2->nItem;
    int i = SkipHoles(*ppList1, 0, n1);
    int j = SkipHoles(pList2, 0, n2);
    while (i < n1 || j < n2) {
        int order = j >= n2 ? -1 : 1;
        if (i < n1 && j < n2) {
            order = Compare((*ppList1)->pszItem[i], pList2->pszItem[j], caseless);
            if (order == -2) {
                return false;
            }
        }
        const Visit visit = order < 0 ? fnLeft(i) : order == 0 ? fnBoth(i, j) : fnRight(j);
        if (visit == Visit::Fail) {
            return false;
        }
        if (visit == Visit::Remove) {
            VELKCSzListRemove(*ppList1, i);
            --n1;
        } else if (order <= 0) {
            ++i;
        }
        if (order >= 0) {
            ++j;
        }
        i = SkipHoles(*ppList1, i, n1);
        j = SkipHoles(pList2, j, n2);
    }
    return true;
}

} // namespace velkc::list
