// VELKCSzListAnd: the intersection of two lists, as a new list or in place.
#include "internal/report.hpp"
#include "list_combine.hpp"

#include <cstring>

namespace {

using namespace velkc::list;

// list2 unsorted: every list1 item is compared with all of list2. A new list
// gets list2's equal item once per match.
bool AndByScan(CombineTarget &target, SzList *pList1, const SzList *pList2)
{
    return FilterItems(pList1, pList1->nItem, [&](const char *psz) {
        bool fMatched = false;
        for (int j = 0; j < pList2->nItem; ++j) {
            const char *pszOther = pList2->pszItem[j];
            if (IsHole(pList2, pszOther) || std::strcmp(psz, pszOther) != 0) {
                continue;
            }
            fMatched = true;
            if (target.PushIfNew(pszOther) == Visit::Fail) {
                return Visit::Fail;
            }
        }
        return fMatched ? Visit::Keep : target.RemoveIfAllowed();
    });
}

// list1 unsorted, list2 sorted: each list1 item is looked up in list2.
bool AndByLookup(CombineTarget &target, SzList *pList1, const SzList *pList2)
{
    const bool caseless = pList2->fMode == OP_UNICODE_SORTED;
    return FilterItems(pList1, pList1->nItem, [&](const char *psz) {
        return Lookup(pList2, psz, caseless) >= 0 ? target.PushIfNew(psz) : target.RemoveIfAllowed();
    });
}

// Both sorted alike: one merge walk; a new list keeps list1's mode.
bool AndByMerge(CombineTarget &target, SzList *pList1, const SzList *pList2)
{
    const bool caseless = pList1->fMode == OP_UNICODE_SORTED;
    const bool fDone = MergeWalk(
        &pList1, pList1->nItem, pList2, caseless, [&](int) { return target.RemoveIfAllowed(); },
        [&](int, int j) { return target.PushIfNew(pList2->pszItem[j]); }, [](int) { return Visit::Keep; });
    if (fDone && target.IsNew()) {
        (*target.Handle())->fMode = pList1->fMode;
    }
    return fDone;
}

} // namespace

// The items of list1 that also occur in list2. In place list1 only shrinks,
// so it is passed by value.
extern "C" VELKC_API SzList *VELKCSzListAnd(SzList *pList1, const SzList *pList2, int flag) noexcept
{
    if (pList1 == nullptr || pList2 == nullptr || !ModesCompatible(pList1, pList2)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    CombineTarget target(&pList1, flag, UsedBytes(pList1));
    if (!target.Ready()) {
        return nullptr;
    }
    bool fDone = false;
    if (pList2->fMode == OP_UNSORTED) {
        fDone = AndByScan(target, pList1, pList2);
    } else if (pList1->fMode == OP_UNSORTED) {
        fDone = AndByLookup(target, pList1, pList2);
    } else {
        fDone = AndByMerge(target, pList1, pList2);
    }
    return fDone ? target.Release() : nullptr;
}
