// VELKCStrTrim: strip a set of bytes from both ends of a string.
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

int VELKCStrTrim(char *szInput, char *szOutput, const char *szDelim) noexcept
{
    const std::string_view set = szDelim != nullptr ? std::string_view(szDelim) : velkc::kWhitespace;
    const int len = velkc::TrimText(szInput, szOutput, set, velkc::Quotes::Keep);
    if (len < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
    }
    return len;
}
