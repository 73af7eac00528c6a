// VELKCFileEditRemoveKey: remove a key of a section in a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"

extern "C" int VELKCFileEditRemoveKey(VELKCFileEdit *pEdit, const char *szSection, const char *szKey) noexcept
{
    if (pEdit == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    long removed = 0;
    bool sectionFound = false;
    if (velkc::Status status = pEdit->document.RemoveKey(szSection, szKey, removed, sectionFound)) {
        return VELKC_FAIL(status);
    }
    if (removed == 0) {
        VELKC_SET_ERR(sectionFound ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND);
    }
    return static_cast<int>(removed);
}
