// VELKCSzListFindIndex: binary search over a sorted list.
#include "list_internal.hpp"

#include <velkc/unicode.h>

// Binary search of slots lo..hi. Returns the index of an equal item, or the
// complement of the insertion point. A failed caseless compare ends the
// search at the current lower bound.
extern "C" VELKC_API int VELKCSzListFindIndex(const SzList *pList, int hi, int lo, const char *sz,
                                              int caseless) noexcept
{
    if (pList == nullptr || sz == nullptr) {
        return -1;
    }
    return caseless != 0 ? velkc::list::SearchSlots(pList, hi, lo, sz, VELKCUnicodeUTF8StrCaseCmp)
                         : velkc::list::SearchSlots(pList, hi, lo, sz, velkc::list::CompareBytes);
}
