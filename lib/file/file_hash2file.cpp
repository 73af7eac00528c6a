// VELKCFileHash2File: write a section header and a table's pairs to a stream.
#include "internal.hpp"

#include <velkc/file.h>

namespace {

constexpr const char *kDefaultFormat = "%s=%s\n";

} // namespace

extern "C" int VELKCFileHash2File(FILE *stream, const char *szSection, const SzHash *pHash, const char *szFormat) noexcept
{
    if (stream == nullptr || !VELKCIFileCheckFormat(szFormat)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : kDefaultFormat;
    if (szSection != nullptr && std::fprintf(stream, "[%s]\n", szSection) < 0) {
        VELKC_SET_ERR(ERR_WRITE_FAILED);
        return -1;
    }
    if (pHash == nullptr) {
        return 0;
    }
    // The table's own slot order, not sorted.
    for (int i = 0; i < pHash->nSlot; ++i) {
        const SzHashSlot &slot = pHash->rgSlot[i];
        if (slot.pszKey != nullptr && std::fprintf(stream, format, slot.pszKey, slot.pszVal) < 0) {
            VELKC_SET_ERR(ERR_WRITE_FAILED);
            return -1;
        }
    }
    return 0;
}
