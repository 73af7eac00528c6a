// Conversion helpers shared by the Unicode sources.
#include "unicode_internal.hpp"

#include <velkc/error.h>
#include <velkc/unicode_icu.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <unicode/ustring.h>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace {

// Longer texts are refused: their UTF-16 buffer size (2n + 1 units)
// does not fit the int32_t capacity that conversion takes.
constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

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

// Checks the text at p a byte or sequence at a time, up to its NUL or
// until at least cbMax bytes are checked, and returns the bytes checked;
// always a whole number of sequences. Stops early at a malformed sequence.
std::size_t ScanBytes(const unsigned char *p, std::size_t cbMax, velkc::unicode::Utf8Scan *pScan) noexcept
{
    // A NUL is neither a lead nor a trail byte: the sequence check stops at
    // it without reading further.
    constexpr std::size_t kNoBound = ~std::size_t{0};
    std::size_t i = 0;
    while (i < cbMax && p[i] != 0) {
        if (p[i] < 0x80) {
            ++i;
            continue;
        }
        pScan->ascii = false;
        const std::size_t n = SequenceAt(p, i, kNoBound);
        if (n == 0) {
            pScan->valid = false;
            return i;
        }
        i += n;
    }
    return i;
}

#if defined(__x86_64__) || defined(__i386__)

// The vector check classifies every byte together with the byte before it.
// Each kind of error is a product of three sets: of the previous byte's high
// nibble, of its low nibble, and of this byte's high nibble. Three 16-entry
// tables, one per nibble, give a bit per kind for which the nibble is in
// its set; a byte pair is an error of that kind when the bit survives the
// AND of the three lookups.
enum PairBit : unsigned char {
    kTooShort = 1 << 0,        // a lead byte not followed by a continuation
    kTooLong = 1 << 1,         // ASCII followed by a continuation
    kOverlong3 = 1 << 2,       // E0 80..9F
    kTooLarge = 1 << 3,        // F4 90..BF, F5..FF 90..BF
    kSurrogate = 1 << 4,       // ED A0..BF
    kOverlong2 = 1 << 5,       // C0..C1 followed by a continuation
    kOverlong4Or1000 = 1 << 6, // F0 80..8F, F5..FF 80..8F
    kTwoConts = 1 << 7,        // a continuation after a continuation: an error
                               // unless a 3- or 4-byte sequence needs it
};

struct PairTables {
    std::array<unsigned char, 16> prevHigh{};
    std::array<unsigned char, 16> prevLow{};
    std::array<unsigned char, 16> curHigh{};
};

// The sets of every kind, spelled out as nibble ranges.
constexpr PairTables MakePairTables()
{
    struct Kind {
        unsigned char bit;
        int prevHighLo, prevHighHi;  // previous byte's high nibble range
        int prevLowLo, prevLowHi;    // previous byte's low nibble range
        bool prevLowAlso0;           // low nibble 0 also in the set
        int curHighLo, curHighHi;    // this byte's high nibble range
        bool curHighAlsoAsciiOrLead; // for kTooShort: 0..7 and C..F
    };
    constexpr Kind kinds[] = {
        {kTooShort, 0xC, 0xF, 0x0, 0xF, false, 0xC, 0xF, true},
        {kTooLong, 0x0, 0x7, 0x0, 0xF, false, 0x8, 0xB, false},
        {kOverlong3, 0xE, 0xE, 0x0, 0x0, false, 0x8, 0x9, false},
        {kTooLarge, 0xF, 0xF, 0x4, 0xF, false, 0x9, 0xB, false},
        {kSurrogate, 0xE, 0xE, 0xD, 0xD, false, 0xA, 0xB, false},
        {kOverlong2, 0xC, 0xC, 0x0, 0x1, false, 0x8, 0xB, false},
        {kOverlong4Or1000, 0xF, 0xF, 0x5, 0xF, true, 0x8, 0x8, false},
        {kTwoConts, 0x8, 0xB, 0x0, 0xF, false, 0x8, 0xB, false},
    };
    PairTables t;
    for (const Kind &k : kinds) {
        for (int n = 0; n < 16; ++n) {
            if (n >= k.prevHighLo && n <= k.prevHighHi) {
                t.prevHigh[n] |= k.bit;
            }
            if ((n >= k.prevLowLo && n <= k.prevLowHi) || (k.prevLowAlso0 && n == 0)) {
                t.prevLow[n] |= k.bit;
            }
            if ((n >= k.curHighLo && n <= k.curHighHi) || (k.curHighAlsoAsciiOrLead && n <= 0x7)) {
                t.curHigh[n] |= k.bit;
            }
        }
    }
    return t;
}

constexpr PairTables kPairTables = MakePairTables();

[[gnu::target("ssse3")]] __m128i Table(const std::array<unsigned char, 16> &t) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(t.data()));
}

// Errors in block cur, given the block before it.
[[gnu::target("ssse3")]] __m128i BlockErrors(__m128i prev, __m128i cur) noexcept
{
    const __m128i lowNibbles = _mm_set1_epi8(0x0F);
    const __m128i prev1 = _mm_alignr_epi8(cur, prev, 15);
    const __m128i high1 = _mm_and_si128(_mm_srli_epi16(prev1, 4), lowNibbles);
    const __m128i low1 = _mm_and_si128(prev1, lowNibbles);
    const __m128i high2 = _mm_and_si128(_mm_srli_epi16(cur, 4), lowNibbles);
    const __m128i pairs = _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(Table(kPairTables.prevHigh), high1),
                                                      _mm_shuffle_epi8(Table(kPairTables.prevLow), low1)),
                                        _mm_shuffle_epi8(Table(kPairTables.curHigh), high2));
    // Bytes two after a 3- or 4-byte lead, or three after a 4-byte lead,
    // must be continuations that follow continuations; the sign bit marks
    // them, and it cancels kTwoConts exactly where that pair is required.
    const __m128i prev2 = _mm_alignr_epi8(cur, prev, 14);
    const __m128i prev3 = _mm_alignr_epi8(cur, prev, 13);
    const __m128i third = _mm_subs_epu8(prev2, _mm_set1_epi8(static_cast<char>(0xE0 - 0x80)));
    const __m128i fourth = _mm_subs_epu8(prev3, _mm_set1_epi8(static_cast<char>(0xF0 - 0x80)));
    const __m128i required = _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(static_cast<char>(0x80)));
    return _mm_xor_si128(required, pairs);
}

// Running state of the vector check.
struct BlockScan {
    __m128i prev;
    __m128i errors;
    __m128i high;
};

[[gnu::target("ssse3")]] void Step(BlockScan *pScan, __m128i cur) noexcept
{
    // All-ASCII blocks after an all-ASCII block need no pair check.
    if (_mm_movemask_epi8(_mm_or_si128(cur, pScan->prev)) != 0) {
        pScan->errors = _mm_or_si128(pScan->errors, BlockErrors(pScan->prev, cur));
        pScan->high = _mm_or_si128(pScan->high, cur);
    }
    pScan->prev = cur;
}

// The vector check, 16 bytes at a time. The last partial block, perhaps
// empty, is copied into a block of NULs: a sequence cut short by the end of
// the text meets a NUL there and fails.
[[gnu::target("ssse3")]] void ScanBlocks(const unsigned char *p, std::size_t cb,
                                         velkc::unicode::Utf8Scan *pScan) noexcept
{
    BlockScan scan{_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128()};
    const auto load = [p](std::size_t at) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + at)); };
    std::size_t i = 0;
    while (i + 16 <= cb) {
        // Runs of ASCII after ASCII go by 64 bytes at a time.
        if (i + 64 <= cb && _mm_movemask_epi8(scan.prev) == 0 &&
            _mm_movemask_epi8(
                _mm_or_si128(_mm_or_si128(load(i), load(i + 16)), _mm_or_si128(load(i + 32), load(i + 48)))) == 0) {
            i += 64;
            continue;
        }
        Step(&scan, load(i));
        i += 16;
    }
    alignas(16) unsigned char tail[16] = {};
    std::memcpy(tail, p + i, cb - i);
    Step(&scan, _mm_load_si128(reinterpret_cast<const __m128i *>(tail)));
    pScan->ascii = _mm_movemask_epi8(scan.high) == 0;
    pScan->valid = _mm_movemask_epi8(_mm_cmpeq_epi8(scan.errors, _mm_setzero_si128())) == 0xFFFF;
}

const bool gHasBlocks = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3") != 0;
}();

#endif

// Texts are checked byte by byte up to this length, which costs less than
// measuring them first and setting up the vector path.
constexpr std::size_t kBytewiseBytes = 16;

} // namespace

namespace velkc::unicode {

Utf8Scan ScanUtf8(const char *psz) noexcept
{
    Utf8Scan scan;
    const auto *p = reinterpret_cast<const unsigned char *>(psz);
    scan.cb = ScanBytes(p, kBytewiseBytes, &scan);
    if (!scan.valid || p[scan.cb] == 0) {
        return scan;
    }
    const std::size_t cbRest = std::strlen(psz + scan.cb);
    if (scan.cb + cbRest >= kMaxBytes) {
        scan.valid = false;
        return scan;
    }
    Utf8Scan rest;
#if defined(__x86_64__) || defined(__i386__)
    if (gHasBlocks) {
        ScanBlocks(p + scan.cb, cbRest, &rest);
    } else
#endif
    {
        ScanBytes(p + scan.cb, cbRest, &rest);
    }
    scan.cb += cbRest;
    scan.ascii = scan.ascii && rest.ascii;
    scan.valid = rest.valid;
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
