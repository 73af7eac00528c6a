// VELKCStrTrimSpace: strip whitespace from both ends of a string, then one
// pair of enclosing double quotes.
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

int VELKCStrTrimSpace(char *szInput, char *szOutput) noexcept
{
    const int len = velkc::TrimText(szInput, szOutput, velkc::kWhitespace, velkc::Quotes::StripOnePair);
    if (len < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
    }
    return len;
}
