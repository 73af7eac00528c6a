// VELKCUnicodeUTF8StrUpper: upper-cases UTF-8 text.
#include "internal/report.hpp"
#include "unicode_internal.hpp"

#include <velkc/unicode.h>

#include <cstring>
#include <unicode/ustring.h>

extern "C" VELKC_API int VELKCUnicodeUTF8StrUpper(const char *szSrc, char *szDst, int cbDst) noexcept
{
    if (szSrc == nullptr || cbDst < 0 || (cbDst > 0 && szDst == nullptr)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (*szSrc == '\0') {
        if (cbDst != 0) {
            *szDst = '\0';
        }
        return 0;
    }
    velkc::MallocPtr<UChar> pUpper;
    int cchUpper = 0;
    if (const unsigned err = velkc::unicode::UTF8ToUpperUTF16(szSrc, &pUpper, &cchUpper); err != 0) {
        if (err != velkc::unicode::kErrRecorded) {
            VELKC_SET_ERR(err);
        }
        return -1;
    }
    // Each UTF-16 unit becomes at most 3 bytes of UTF-8; 6 leaves ample room.
    const std::size_t cbUtf8 = 6 * static_cast<std::size_t>(cchUpper) + 1;
    velkc::MallocPtr<char> pUtf8(static_cast<char *>(std::malloc(cbUtf8)));
    if (!pUtf8) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    UErrorCode status = U_ZERO_ERROR;
    int32_t cb = 0;
    velkc::unicode::WithIcu(
        [&] { u_strToUTF8(pUtf8.get(), static_cast<int32_t>(cbUtf8), &cb, pUpper.get(), cchUpper, &status); });
    if (U_FAILURE(status)) {
        VELKC_SET_ERR(ERR_UNICODE_FAILED);
        return -1;
    }
    // A result that does not fit leaves "" and still reports its full
    // length, so the caller can tell truncation from success.
    if (cbDst != 0) {
        if (cb < cbDst) {
            std::memcpy(szDst, pUtf8.get(), static_cast<std::size_t>(cb) + 1);
        } else {
            *szDst = '\0';
        }
    }
    return cb;
}
