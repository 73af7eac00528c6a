// VELKCIFileMatchSection: is a line the header of a named section.

#include "internal/report.hpp"

#include <velkc/file.h>

#include <cctype>
#include <cstring>

// The header must read "[name]" exactly, followed only by white space up to
// len; blanks inside the brackets make a different name.
extern "C" int VELKCIFileMatchSection(const char *szLine, int len, const char *szSection) noexcept
{
    if (szLine == nullptr || szSection == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (szLine[0] != '[') {
        return 0;
    }
    const int nameLen = static_cast<int>(std::strlen(szSection));
    if (std::strncmp(szLine + 1, szSection, nameLen) != 0 || szLine[nameLen + 1] != ']') {
        return 0;
    }
    for (int i = nameLen + 2; i < len; ++i) {
        if (!std::isspace(static_cast<unsigned char>(szLine[i]))) {
            return 0;
        }
    }
    return 1;
}
