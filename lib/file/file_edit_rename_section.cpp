// VELKCFileEditRenameSection: rename a section of a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"
#include "section_output.hpp"

extern "C" int VELKCFileEditRenameSection(VELKCFileEdit *pEdit, const char *szSection, const char *szNewName) noexcept
{
    if (pEdit == nullptr || szSection == nullptr || szNewName == nullptr || !velkc::SafeSection(szNewName, nullptr)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    bool found = false;
    bool taken = false;
    if (velkc::Status status = pEdit->document.RenameSection(szSection, szNewName, found, taken)) {
        return VELKC_FAIL(status);
    }
    if (!found || taken) {
        VELKC_SET_ERR(found ? ERR_KEY_EXISTS : ERR_SECTION_NOT_FOUND);
        return 0;
    }
    return 1;
}
