// Conversion helpers shared by the Unicode sources.
#include "unicode_internal.hpp"

#include <velkc/error.h>
#include <velkc/unicode_icu.h>

#include <cstring>
#include <unicode/ustring.h>

namespace velkc::unicode {

unsigned UTF8ToUpperUTF16(const char *psz, MallocPtr<UChar> *ppUpper, int *pcch) noexcept
{
    // 2n + 1 units hold any n bytes of UTF-8, and twice the converted length
    // covers most case mappings without a retry.
    const std::size_t cch = 2 * std::strlen(psz) + 1;
    MallocPtr<UChar> pUtf16(static_cast<UChar *>(std::malloc(cch * sizeof(UChar))));
    if (!pUtf16) {
        return ERR_OUT_OF_MEMORY;
    }
    UErrorCode status = U_ZERO_ERROR;
    int32_t cchUtf16 = 0;
    WithIcu([&] { u_strFromUTF8(pUtf16.get(), static_cast<int32_t>(cch), &cchUtf16, psz, -1, &status); });
    if (U_FAILURE(status)) {
        return ERR_UNICODE_FAILED;
    }
    const int cchUpper = 2 * cchUtf16 + 1;
    UChar *pUpper = static_cast<UChar *>(std::malloc(cchUpper * sizeof(UChar)));
    if (pUpper == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    const int n = VELKCUnicodeIUTF16StrUpper(pUtf16.get(), &pUpper, cchUpper);
    // The mapping may have moved the buffer; even after a failure it is ours.
    ppUpper->reset(pUpper);
    if (n < 0) {
        return kErrRecorded;
    }
    *pcch = n;
    return 0;
}

} // namespace velkc::unicode
