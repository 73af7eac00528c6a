// VELKCSzListOr: the union of two lists, as a new list or in place.
#include "internal/report.hpp"
#include "list_combine.hpp"

namespace {

using namespace velkc::list;

// list1 unsorted, list2 sorted: all of list2 goes in first; then each item
// list1 had is looked up in list2. A new list adds list1's missing items
// after list2's, while in place list1 drops the ones list2 brought again.
bool OrIntoUnsorted(CombineTarget &target, SzList **ppList1, const SzList *pList2)
{
    const int n1 = (*ppList1)->nItem;
    if (!target.PushAll(pList2)) {
        return false;
    }
    const bool caseless = pList2->fMode == OP_UNICODE_SORTED;
    return FilterItems(*ppList1, n1, [&](const char *psz) {
        return Lookup(pList2, psz, caseless) < 0 ? target.PushIfNew(psz) : target.RemoveIfAllowed();
    });
}

// list2 unsorted: list1's items, then each list2 item not found yet. An
// unsorted list1 is the list searched, so a new list takes a repeated list2
// item each time; a sorted list1 searches the result (and in place is
// re-sorted afterwards).
bool OrFromUnsorted(CombineTarget &target, SzList **ppList1, const SzList *pList2)
{
    const int mode1 = (*ppList1)->fMode;
    const bool caseless = mode1 == OP_UNICODE_SORTED;
    SzList *const *ppSearch = mode1 == OP_UNSORTED ? ppList1 : target.Handle();
    if (target.IsNew()) {
        if (!target.PushAll(*ppList1)) {
            return false;
        }
    } else {
        VELKCSzListSortItems(*ppList1, OP_UNSORTED); // pushes must append
    }
    const bool fDone = ForEachItem(
        pList2, [&](const char *psz) { return Lookup(*ppSearch, psz, caseless) < 0 ? target.Push(psz) : Visit::Keep; });
    if (!target.IsNew()) {
        VELKCSzListSortItems(*ppList1, mode1);
    }
    return fDone;
}

// Both sorted alike: a merge walk that takes every list1 item and the list2
// items list1 lacks; the result is then sorted and marked with the mode.
bool OrByMerge(CombineTarget &target, SzList **ppList1, const SzList *pList2)
{
    const int mode = (*ppList1)->fMode;
    if (!target.IsNew()) {
        VELKCSzListSortItems(*ppList1, OP_UNSORTED); // pushes must append
    }
    const auto fnPushLeft = [&](int i) { return target.PushIfNew((*ppList1)->pszItem[i]); };
    const bool fDone = MergeWalk(
        ppList1, (*ppList1)->nItem, pList2, mode == OP_UNICODE_SORTED, fnPushLeft,
        [&](int i, int) { return fnPushLeft(i); }, [&](int j) { return target.Push(pList2->pszItem[j]); });
    if (fDone) {
        VELKCSzListSortItems(*target.Handle(), mode);
    }
    return fDone;
}

} // namespace

// The items of both lists, those of list2 only when not present already.
// In place list1 may grow, so the caller's handle is updated.
extern "C" VELKC_API SzList *VELKCSzListOr(SzList **ppList1, const SzList *pList2, int flag) noexcept
{
    if (ppList1 == nullptr || *ppList1 == nullptr || pList2 == nullptr || !ModesCompatible(*ppList1, pList2)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    CombineTarget target(ppList1, flag, UsedBytes(*ppList1) + UsedBytes(pList2));
    if (!target.Ready()) {
        return nullptr;
    }
    bool fDone = false;
    if (pList2->fMode == OP_UNSORTED) {
        fDone = OrFromUnsorted(target, ppList1, pList2);
    } else if ((*ppList1)->fMode == OP_UNSORTED) {
        fDone = OrIntoUnsorted(target, ppList1, pList2);
    } else {
        fDone = OrByMerge(target, ppList1, pList2);
    }
    return fDone ? target.Release() : nullptr;
}
