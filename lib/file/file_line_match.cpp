// VELKCILineMatch: does a line contain, begin with or end with a pattern,
// optionally without regard to case.
#include "internal/report.hpp"
#include "line_model.hpp"

extern "C" int VELKCILineMatch(const char *szLine, const char *szPattern, int flags) noexcept
{
    if (szLine == nullptr || szPattern == nullptr || flags < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return 0;
    }
    bool matched = false;
    if (velkc::Status status = velkc::MatchLine(szLine, szPattern, flags, matched)) {
        VELKC_SET_ERR(status);
    }
    return matched;
}
