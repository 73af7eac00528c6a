// VELKCStrDecodeColon: undo VELKCStrEncodeColon.
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

#include <cstring>
#include <utility>

int VELKCStrDecodeColon(const char *szSrc, char *szDst, int cbDst) noexcept
{
    if (szSrc == nullptr || szDst == nullptr || szSrc == szDst) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    // Decoding never lengthens the text. The comparison is strict like the
    // encoder's: the terminator may land at szDst[cbDst].
    if (std::cmp_greater(std::strlen(szSrc), cbDst)) {
        VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
        return -1;
    }
    char *out = szDst;
    for (const char *in = szSrc; *in != '\0'; ++in) {
        if (*in != velkc::kColonEscape) {
            *out++ = *in;
            continue;
        }
        const velkc::EscapeUnit *escape = velkc::FindEscapeByCode(in[1]);
        if (escape == nullptr) {
            break; // a dangling or unknown escape ends the text
        }
        *out++ = escape->plain;
        ++in;
    }
    *out = '\0';
    return static_cast<int>(out - szDst);
}
