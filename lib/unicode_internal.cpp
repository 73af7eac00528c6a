// Conversion helpers shared by the Unicode sources.
#include "unicode_internal.hpp"

#include <velkc/unicode_icu.h>

#include <cstdint>
#include <cstring>
#include <unicode/ustring.h>

namespace {

// Longer texts were always refused: their UTF-16 buffer size (2n + 1 units)
// does not fit the int32_t capacity that conversion takes.
constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

// Index of the first byte at or after i that is not ASCII, or cb. Tests 32
// bytes at a time: this pass runs over every byte of every compared string.
std::size_t SkipAscii(const unsigned char *p, std::size_t i, std::size_t cb) noexcept
{
    constexpr std::uint64_t kHighBits = 0x8080808080808080u;
    for (; i + 32 <= cb; i += 32) {
        std::uint64_t w[4];
        std::memcpy(w, p + i, sizeof w);
        if (((w[0] | w[1] | w[2] | w[3]) & kHighBits) != 0) {
            break;
        }
    }
    while (i < cb && p[i] < 0x80) {
        ++i;
    }
    return i;
}

bool IsTrail(unsigned char c) noexcept { return (c & 0xC0) == 0x80; }

// Length of the well-formed multi-byte sequence at p[i] (which is not
// ASCII), or 0. The ranges for the second byte exclude overlong forms,
// surrogates and code points above U+10FFFF, as the converter does.
std::size_t SequenceAt(const unsigned char *p, std::size_t i, std::size_t cb) noexcept
{
    const unsigned char lead = p[i];
    const std::size_t left = cb - i;
    if (lead >= 0xC2 && lead <= 0xDF) {
        return left >= 2 && IsTrail(p[i + 1]) ? 2 : 0;
    }
    unsigned char lo = 0x80;
    unsigned char hi = 0xBF;
    std::size_t n = 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        n = 3;
        lo = lead == 0xE0 ? 0xA0 : 0x80;
        hi = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        n = 4;
        lo = lead == 0xF0 ? 0x90 : 0x80;
        hi = lead == 0xF4 ? 0x8F : 0xBF;
    }
    if (n == 0 || left < n || p[i + 1] < lo || p[i + 1] > hi) {
        return 0;
    }
    for (std::size_t k = 2; k < n; ++k) {
        if (!IsTrail(p[i + k])) {
            return 0;
        }
    }
    return n;
}

} // namespace

namespace velkc::unicode {

Utf8Scan ScanUtf8(const char *psz) noexcept
{
    Utf8Scan scan;
    scan.cb = std::strlen(psz);
    if (scan.cb >= kMaxBytes) {
        scan.valid = false;
        return scan;
    }
    const auto *p = reinterpret_cast<const unsigned char *>(psz);
    for (std::size_t i = SkipAscii(p, 0, scan.cb); i < scan.cb;) {
        scan.ascii = false;
        const std::size_t n = SequenceAt(p, i, scan.cb);
        if (n == 0) {
            scan.valid = false;
            return scan;
        }
        i += n;
        // Runs of ASCII are skipped in blocks; a lone ASCII byte in
        // non-ASCII text is stepped over here.
        i = i < scan.cb && p[i] < 0x80 ? SkipAscii(p, i, scan.cb) : i;
    }
    return scan;
}

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
