// VELKCFileEditGetSections: the section names of a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"

extern "C" int VELKCFileEditGetSections(VELKCFileEdit *pEdit, SzList **ppList) noexcept
{
    if (pEdit == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (velkc::Status status = pEdit->document.Sections(ppList)) {
        return VELKC_FAIL(status);
    }
    return (*ppList)->nItem;
}
