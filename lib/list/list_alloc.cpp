// VELKCSzListAlloc: a new empty list of at least 512 bytes.
#include "internal/report.hpp"
#include "list_internal.hpp"

#include <algorithm>

extern "C" VELKC_API SzList *VELKCSzListAlloc(int size) noexcept
{
    SzList *pList = velkc::list::NewBlock(std::max(size, velkc::list::kMinSize));
    if (pList == nullptr) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
    }
    return pList;
}
