// VELKCSzListRemoveAll: empties a list, keeping its block and mode.
#include "list_internal.hpp"

extern "C" VELKC_API void VELKCSzListRemoveAll(SzList *pList) noexcept
{
    if (pList == nullptr) {
        return;
    }
    pList->nItem = 0;
    pList->pszStrEnd = pList->pszEmpty;
    pList->cbFree = pList->cbSize - velkc::list::kHeaderSize;
}
