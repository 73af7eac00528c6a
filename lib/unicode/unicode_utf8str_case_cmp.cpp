// VELKCUnicodeUTF8StrCaseCmp: compares UTF-8 strings ignoring case.
#include "internal/report.hpp"
#include "unicode_internal.hpp"
#include "unicode_utf8_check.hpp"

#include <velkc/unicode.h>
#include <velkc/unicode_icu.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

// Longer texts are refused: the collation iterator counts their upper-cased
// units in an int32_t.
constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

// Index of the first of the n bytes at a and b that differ, or n.
std::size_t FirstDifference(const char *a, const char *b, std::size_t n) noexcept
{
    std::size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (; i + 8 <= n; i += 8) {
            std::uint64_t x = 0;
            std::uint64_t y = 0;
            std::memcpy(&x, a + i, 8);
            std::memcpy(&y, b + i, 8);
            if (x != y) {
                return i + static_cast<std::size_t>(std::countr_zero(x ^ y)) / 8;
            }
        }
    }
    while (i < n && a[i] == b[i]) {
        ++i;
    }
    return i;
}

} // namespace

// Case is removed by a full upper-case mapping of both strings; the root
// collator then orders the upper-cased forms. Either string being malformed
// fails the comparison, wherever the malformed bytes are, so both are
// checked whole first. The text the strings share weighs the same in both,
// so the order is found from about their first difference on: through a
// rank table while the text there is ASCII, else by collating the rests,
// upper-casing only as far as the collator reads.
extern "C" VELKC_API int VELKCUnicodeUTF8StrCaseCmp(const char *szA, const char *szB) noexcept
{
    if (szA == nullptr || szB == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -2;
    }
    const UCollator *pColl = VELKCUnicodeIOpenCollator();
    if (pColl == nullptr) {
        return -2;
    }
    using namespace velkc::unicode;
    const Utf8Check checkA = CheckUtf8(szA);
    const Utf8Check checkB = CheckUtf8(szB);
    if (!checkA.valid || !checkB.valid || checkA.cb >= kMaxBytes || checkB.cb >= kMaxBytes) {
        VELKC_SET_ERR(ERR_UNICODE_FAILED);
        return -2;
    }
    const std::size_t i = FirstDifference(szA, szB, std::min(checkA.cb, checkB.cb));
    if (i == checkA.cb && i == checkB.cb) {
        return 0;
    }
    const std::size_t at = SplitBefore(pColl, szA, szB, i);
    if (const int r = CompareAsciiUpperFrom(pColl, szA, szB, at); r != kNoDecision) {
        return r;
    }
    int r = 0;
    const std::string_view a(szA + at, checkA.cb - at);
    const std::string_view b(szB + at, checkB.cb - at);
    if (const unsigned err = CollateUpper(pColl, a, b, &r); err != 0) {
        VELKC_SET_ERR(err);
        return -2;
    }
    return r;
}
