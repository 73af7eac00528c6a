// Compares a list with an array of strings, ignoring order.
#include "kovacore_test.h"

extern "C" int ListSameWithStrArray(const SzList *pList, const char **rgsz, int count)
{
    if (pList == NULL || rgsz == NULL || count < 0 || pList->nItem != count) {
        return -1;
    }
    // A Unicode-sorted list can only be searched caselessly.
    const bool fCaseless = pList->fMode == OP_UNICODE_SORTED;
    for (int i = 0; i < count; ++i) {
        const int index = fCaseless ? VELKCSzListCaseFind(pList, rgsz[i]) : VELKCSzListFind(pList, rgsz[i]);
        if (index < 0) {
            return -1;
        }
    }
    return 0;
}
