// VELKCFileEditAddSection: add an empty section to a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"
#include "section_output.hpp"

extern "C" int VELKCFileEditAddSection(VELKCFileEdit *pEdit, const char *szSection) noexcept
{
    if (pEdit == nullptr || szSection == nullptr || !velkc::SafeSection(szSection, nullptr)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    bool added = false;
    if (velkc::Status status = pEdit->document.AddSection(szSection, added)) {
        return VELKC_FAIL(status);
    }
    return added ? 1 : 0;
}
