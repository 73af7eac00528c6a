// VELKCFileEditGetKeys: the keys of a section of a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"

extern "C" int VELKCFileEditGetKeys(VELKCFileEdit *pEdit, const char *szSection, SzList **ppList) noexcept
{
    if (pEdit == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    bool sectionFound = false;
    if (velkc::Status status = pEdit->document.Keys(szSection, ppList, sectionFound)) {
        return VELKC_FAIL(status);
    }
    if (!sectionFound) {
        VELKC_SET_ERR(ERR_SECTION_NOT_FOUND);
        return -1;
    }
    return (*ppList)->nItem;
}
