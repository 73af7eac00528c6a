// VELKCFileEditSetValue: set a key of a section in a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"
#include "line_model.hpp"
#include "pair_line.hpp"
#include "section_output.hpp"

extern "C" int VELKCFileEditSetValue(VELKCFileEdit *pEdit, const char *szSection, const char *szKey,
                                     const char *szValue) noexcept
{
    if (pEdit == nullptr || szKey == nullptr || szValue == nullptr || !velkc::IsSectionKey(szKey) ||
        !velkc::IsSafeValue(szValue) || !velkc::SafeSection(szSection, nullptr)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (velkc::Status status = pEdit->document.SetValue(szSection, szKey, szValue)) {
        return VELKC_FAIL(status);
    }
    return 1;
}
