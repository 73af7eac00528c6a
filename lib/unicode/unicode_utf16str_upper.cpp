// VELKCUnicodeIUTF16StrUpper: upper-cases UTF-16 text into a heap buffer
// that grows when the mapping needs more room.
#include "internal/report.hpp"
#include "unicode_internal.hpp"

#include <velkc/unicode_icu.h>

#include <unicode/ustring.h>

extern "C" VELKC_API int VELKCUnicodeIUTF16StrUpper(const UChar *pSrc, UChar **ppDst, int cchDst) noexcept
{
    if (ppDst == nullptr || cchDst < 1 || pSrc == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    UErrorCode status = U_ZERO_ERROR;
    using velkc::unicode::WithIcu;
    int32_t n = WithIcu([&] { return u_strToUpper(*ppDst, cchDst, pSrc, -1, "", &status); });
    if (U_SUCCESS(status) && n < cchDst) {
        return n;
    }
    // Too small (a result that exactly fills the buffer counts too, as it
    // would lack its NUL): grow to the length the mapping asked for.
    if (n >= cchDst) {
        auto *pGrown = static_cast<UChar *>(std::realloc(*ppDst, (n + 1) * sizeof(UChar)));
        if (pGrown == nullptr) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
        *ppDst = pGrown;
        status = U_ZERO_ERROR;
        n = WithIcu([&] { return u_strToUpper(*ppDst, n + 1, pSrc, -1, "", &status); });
        if (U_SUCCESS(status)) {
            return n;
        }
    }
    VELKC_SET_ERR(ERR_UNICODE_FAILED);
    return -1;
}
