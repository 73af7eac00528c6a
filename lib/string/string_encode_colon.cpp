// VELKCStrEncodeColon: escape ':' and ';' so that the text can sit in a
// colon-separated record.
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

int VELKCStrEncodeColon(const char *szSrc, char *szDst, int cbDst) noexcept
{
    if (szSrc == nullptr || szDst == nullptr || szSrc == szDst) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    int count = 0;
    for (const char *in = szSrc; *in != '\0'; ++in) {
        const velkc::EscapeUnit *escape = velkc::FindEscapeOf(*in);
        // The bound is checked before each unit is written. It is strict:
        // an encoding of exactly cbDst bytes fits and its terminator goes to
        // szDst[cbDst], so callers declare one byte less than they have.
        count += escape != nullptr ? 2 : 1;
        if (count > cbDst) {
            VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
            return -1;
        }
        if (escape != nullptr) {
            *szDst++ = velkc::kColonEscape;
            *szDst++ = escape->code;
        } else {
            *szDst++ = *in;
        }
    }
    *szDst = '\0';
    return count;
}
