// VELKCStrReplace: replace the first occurrence of a substring, into a
// buffer or in place.

#include "internal/report.hpp"

#include <velkc/str.h>

#include <cstring>

int VELKCStrReplace(char *szInput, const char *szOld, const char *szNew, char *szOutput, int iSzOutput) noexcept
{
    if (szInput == nullptr || szOld == nullptr || szNew == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const std::size_t inputLen = std::strlen(szInput);
    const std::size_t oldLen = std::strlen(szOld);
    const std::size_t newLen = std::strlen(szNew);
    // The size is checked before the search, so a buffer too small for the
    // replaced text fails even when szOld does not occur.
    const long long needed = static_cast<long long>(inputLen + 1 + newLen) - static_cast<long long>(oldLen);
    if (iSzOutput < needed) {
        VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
        return -1;
    }
    char *match = std::strstr(szInput, szOld);
    if (match == nullptr) {
        return 0;
    }
    const std::size_t prefixLen = static_cast<std::size_t>(match - szInput);
    const char *tail = match + oldLen;
    const std::size_t tailSize = inputLen - prefixLen - oldLen + 1; // with the terminator
    if (szOutput != nullptr) {
        std::memcpy(szOutput, szInput, prefixLen);
        std::memcpy(szOutput + prefixLen, szNew, newLen);
        std::memcpy(szOutput + prefixLen + newLen, tail, tailSize);
    } else {
        std::memmove(match + newLen, tail, tailSize);
        std::memcpy(match, szNew, newLen);
    }
    return 1;
}
