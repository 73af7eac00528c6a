// VELKCStrJoin: join strings with a separator into a caller-held buffer that
// grows as needed.
#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <velkc/str.h>

#include <climits>
#include <cstring>

namespace {

// realloc that frees the old block when it fails, so that the caller never
// holds on to a block of the wrong size. A null block is allocated afresh; a
// size that an int can't hold counts as a failed allocation.
char *ReallocF(char *block, std::size_t size)
{
    char *grown = size <= static_cast<std::size_t>(INT_MAX) ? static_cast<char *>(std::realloc(block, size)) : nullptr;
    if (grown == nullptr) {
        std::free(block);
    }
    return grown;
}

} // namespace

int VELKCStrJoin(char *const *rgszMem, int nItems, const char *szJoin, char **pszOutStr, int *pcbSize) noexcept
{
    if (rgszMem == nullptr || nItems < 1 || szJoin == nullptr || pszOutStr == nullptr || pcbSize == nullptr ||
        (*pszOutStr != nullptr && *pcbSize < 1)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        VELKC_LOG(LOG_ERR, "Bad parameters!!");
        return -1;
    }
    // Bytes each item takes in the output: the item and a separator.
    velkc::MallocPtr<std::size_t> pieces(
        static_cast<std::size_t *>(std::calloc(static_cast<std::size_t>(nItems), sizeof(std::size_t))));
    if (!pieces) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        VELKC_LOG(LOG_ERR, "Out of memory!!");
        return -1;
    }
    const std::size_t sepLen = std::strlen(szJoin);
    std::size_t total = 0;
    for (int i = 0; i < nItems; ++i) {
        // A null item is skipped along with its separator.
        if (rgszMem[i] != nullptr) {
            pieces.get()[i] = std::strlen(rgszMem[i]) + sepLen;
            total += pieces.get()[i];
        }
    }
    if (total == 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        VELKC_LOG(LOG_ERR, "The input array is empty!!");
        return -1;
    }
    const std::size_t needed = total + 1;
    // A buffer that is large enough is reused as it is.
    if (*pszOutStr == nullptr || needed > static_cast<std::size_t>(*pcbSize)) {
        *pszOutStr = ReallocF(*pszOutStr, needed);
        if (*pszOutStr == nullptr) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            VELKC_LOG(LOG_ERR, "Out of memory!!");
            return -1;
        }
        *pcbSize = static_cast<int>(needed);
    }
    char *out = *pszOutStr;
    std::memset(out, 0, static_cast<std::size_t>(*pcbSize));
    for (int i = 0; i < nItems; ++i) {
        if (rgszMem[i] != nullptr) {
            const std::size_t itemLen = pieces.get()[i] - sepLen;
            std::memcpy(out, rgszMem[i], itemLen);
            std::memcpy(out + itemLen, szJoin, sepLen);
            out += pieces.get()[i];
        }
    }
    // Every item was followed by a separator: cut the last one.
    *(out - sepLen) = '\0';
    return 0;
}
