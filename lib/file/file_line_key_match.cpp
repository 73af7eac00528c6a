// VELKCILineKeyMatch: is a line the line of a given key.
#include "internal/report.hpp"
#include "line_model.hpp"

#include <cstring>

// The line is cut in place at its first "=", so that it then holds the key as
// the file spells it; writers reuse that to write the key back unchanged.
extern "C" int VELKCILineKeyMatch(char *szLine, const char *szKey) noexcept
{
    if (szLine == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return 0;
    }
    if (velkc::IsCommentLine(szLine)) {
        return 0;
    }
    const bool match = velkc::IsKeyLineOf(szLine, szKey);
    if (char *equals = std::strchr(szLine, '=')) {
        *equals = '\0';
    }
    return match;
}
