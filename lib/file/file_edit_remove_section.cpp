// VELKCFileEditRemoveSection: remove a section of a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"

extern "C" int VELKCFileEditRemoveSection(VELKCFileEdit *pEdit, const char *szSection) noexcept
{
    if (pEdit == nullptr || szSection == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    bool found = false;
    if (velkc::Status status = pEdit->document.RemoveSection(szSection, found)) {
        return VELKC_FAIL(status);
    }
    if (!found) {
        VELKC_SET_ERR(ERR_SECTION_NOT_FOUND);
        return 0;
    }
    return 1;
}
