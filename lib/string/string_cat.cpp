// VELKCStrCat: append to a caller-held buffer that grows as needed.
#include "internal/report.hpp"

#include <velkc/str.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A fresh buffer holds 1024 bytes, or the whole source if it is longer.
constexpr std::size_t kInitialCapacity = 1024;
// Growth step for short sources; a longer source grows the buffer by its
// own size instead.
constexpr std::size_t kGrowthStep = 1024;

bool FitsInt(std::size_t n) { return n <= static_cast<std::size_t>(INT_MAX); }

} // namespace

int VELKCStrCat(char **pszDest, int *pcbDest, const char *szSrc) noexcept
{
    if (pszDest == nullptr || pcbDest == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (szSrc == nullptr || *szSrc == '\0') {
        return 0;
    }
    const std::size_t len = std::strlen(szSrc);
    if (*pszDest == nullptr || *pcbDest < 1) {
        const std::size_t capacity = len < kInitialCapacity - 1 ? kInitialCapacity : len + 1;
        char *buffer = FitsInt(capacity) ? static_cast<char *>(std::malloc(capacity)) : nullptr;
        if (buffer == nullptr) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
        std::memset(buffer, 0, capacity);
        *pszDest = buffer;
        *pcbDest = static_cast<int>(capacity);
    }
    const std::size_t current = std::strlen(*pszDest);
    const std::size_t capacity = static_cast<std::size_t>(*pcbDest);
    if (current + len >= capacity) { // the text and its terminator would not fit
        const std::size_t grown = capacity + (len > kGrowthStep - 2 ? len + 1 : kGrowthStep);
        if (!FitsInt(grown)) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
        // The capacity is updated before the reallocation on purpose: after
        // a failure the caller sees the larger size with the old block.
        *pcbDest = static_cast<int>(grown);
        char *buffer = static_cast<char *>(std::realloc(*pszDest, grown));
        if (buffer == nullptr) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
        *pszDest = buffer;
    }
    if (current > 0) {
        std::strncat(*pszDest, szSrc, len);
    } else {
        std::snprintf(*pszDest, static_cast<std::size_t>(*pcbDest), "%s", szSrc);
    }
    return 0;
}
