// VELKCSzListFindIndex: binary search over a sorted list.
#include "internal.hpp"
#include "list_internal.hpp"

// Binary search of slots lo..hi. Returns the index of an equal item, or the
// complement of the insertion point. A failed caseless compare ends the
// search at the current lower bound.
extern "C" VELKC_API int VELKCSzListFindIndex(const SzList *pList, int hi, int lo, const char *sz,
                                              int caseless) noexcept
{
    if (pList == nullptr || sz == nullptr) {
        return -1;
    }
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const int r = velkc::list::Compare(sz, pList->pszItem[mid], caseless != 0);
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
