// VELKCISzListExpand: moves a list into a block of twice the size.
#include "internal/report.hpp"
#include "list_internal.hpp"

#include <climits>
#include <cstdlib>

extern "C" VELKC_API SzList *VELKCISzListExpand(SzList *pList) noexcept
{
    SzList *pNew = nullptr;
    if (pList != nullptr && pList->cbSize <= INT_MAX / 2) {
        pNew = velkc::list::CopyToBlock(pList, pList->cbSize * 2);
    }
    if (pNew == nullptr) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    std::free(pList);
    return pNew;
}
