// VELKCFileEditGetValue: a value of a section in a transaction's file.
#include "edit.hpp"
#include "internal/report.hpp"

#include <climits>

extern "C" int VELKCFileEditGetValue(VELKCFileEdit *pEdit, const char *szSection, const char *szKey, char *szValue,
                                     int cbValue) noexcept
{
    if (pEdit == nullptr || szKey == nullptr || cbValue < 0 || (szValue == nullptr && cbValue != 0)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    std::string_view value;
    bool sectionFound = false;
    bool keyFound = false;
    pEdit->document.Value(szSection, szKey, value, sectionFound, keyFound);
    if (!keyFound) {
        VELKC_SET_ERR(sectionFound ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND);
        return 0;
    }
    const std::size_t size = value.size() + 1;
    if (size > INT_MAX || (szValue != nullptr && size > static_cast<std::size_t>(cbValue))) {
        VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
        return -1;
    }
    if (szValue != nullptr) {
        value.copy(szValue, value.size());
        szValue[value.size()] = '\0';
    }
    return static_cast<int>(size);
}
