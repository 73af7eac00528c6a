// The library's Unicode answers computed the long way, straight from ICU,
// for the tests and the fuzz targets to hold the fast paths to.
#pragma once

#include <velkc/unicode_icu.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <unicode/ucol.h>
#include <unicode/ustring.h>
#include <vector>

namespace test {

// Whether ICU's converter takes text as UTF-8.
inline bool ConverterTakes(const std::string &text)
{
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.c_str(), -1, &status);
    return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

// text upper-cased in UTF-16; *pOk false when it does not convert.
inline std::vector<UChar> UpperUtf16(const std::string &text, bool *pOk)
{
    std::vector<UChar> utf16(2 * text.size() + 1);
    std::vector<UChar> upper(3 * utf16.size() + 1);
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = 0;
    u_strFromUTF8(utf16.data(), int32_t(utf16.size()), &n, text.c_str(), -1, &status);
    n = u_strToUpper(upper.data(), int32_t(upper.size()), utf16.data(), n, "", &status);
    *pOk = U_SUCCESS(status);
    upper.resize(std::size_t(std::max(n, 0)));
    return upper;
}

// The caseless comparison: the collator's order of the upper-cased texts,
// -2 for text that does not convert.
inline int ReferenceCaseCmp(const std::string &a, const std::string &b)
{
    bool okA = false, okB = false;
    const auto upperA = UpperUtf16(a, &okA);
    const auto upperB = UpperUtf16(b, &okB);
    if (!okA || !okB) {
        return -2;
    }
    return ucol_strcoll(VELKCUnicodeIOpenCollator(), upperA.data(), int32_t(upperA.size()), upperB.data(),
                        int32_t(upperB.size()));
}

} // namespace test
