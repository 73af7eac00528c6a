// VELKCSzListCaseFind: the index of an item equal ignoring case.
#include "internal/report.hpp"
#include "list_internal.hpp"

// A byte-sorted list is refused: its order would mislead the search.
extern "C" VELKC_API int VELKCSzListCaseFind(const SzList *pList, const char *sz) noexcept
{
    if (pList == nullptr || sz == nullptr || pList->fMode == OP_SORTED) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    return velkc::list::Lookup(pList, sz, true);
}
