// The UTF-8 check of NUL-terminated text: a loop a sequence at a time, and
// vector loops 16 (SSSE3) and 32 (AVX2) bytes at a time.
#include "unicode_utf8_check.hpp"

#include <array>
#include <atomic>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define VELKC_UTF8_VECTORS 1
#endif

namespace {

using velkc::unicode::Utf8Check;
using velkc::unicode::Utf8Checker;

bool IsTrail(unsigned char c) noexcept { return (c & 0xC0) == 0x80; }

// Length of the well-formed sequence that p[0], not ASCII, leads, or 0. The
// ranges of the second byte exclude overlong forms, surrogates and code
// points above U+10FFFF, as the converter does. A terminator is no
// continuation byte: the check stops at it and reads no further.
std::size_t SequenceAt(const unsigned char *p) noexcept
{
    const unsigned char lead = p[0];
    if (lead >= 0xC2 && lead <= 0xDF) {
        return IsTrail(p[1]) ? 2 : 0;
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
    if (n == 0 || p[1] < lo || p[1] > hi) {
        return 0;
    }
    for (std::size_t k = 2; k < n; ++k) {
        if (!IsTrail(p[k])) {
            return 0;
        }
    }
    return n;
}

// The check a byte or a sequence at a time; it reads nothing past the
// terminator.
Utf8Check CheckScalar(const unsigned char *p) noexcept
{
    std::size_t i = 0;
    for (;;) {
        const unsigned char c = p[i];
        if (c == 0) {
            return {i, true};
        }
        if (c < 0x80) {
            ++i;
            continue;
        }
        const std::size_t n = SequenceAt(p + i);
        if (n == 0) {
            return {i, false};
        }
        i += n;
    }
}

#if VELKC_UTF8_VECTORS

// The vector loops read aligned blocks whole, with the bytes before the text
// and past its terminator: an aligned block never spans two pages, so the
// read cannot fault, and those bytes are cleared before they reach a result.
// The sanitizers would take such a read for an overflow, or for a race with
// whatever lives beside the text, so they leave these functions alone.
#define VELKC_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))

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

// The three tables, each written twice, once for each 16-byte lane of a
// 32-byte vector (a byte shuffle looks up within its lane).
struct PairTables {
    std::array<unsigned char, 32> prevHigh{};
    std::array<unsigned char, 32> prevLow{};
    std::array<unsigned char, 32> curHigh{};
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
        for (int n = 0; n < 32; ++n) {
            const int nibble = n % 16;
            if (nibble >= k.prevHighLo && nibble <= k.prevHighHi) {
                t.prevHigh[n] |= k.bit;
            }
            if ((nibble >= k.prevLowLo && nibble <= k.prevLowHi) || (k.prevLowAlso0 && nibble == 0)) {
                t.prevLow[n] |= k.bit;
            }
            if ((nibble >= k.curHighLo && nibble <= k.curHighHi) || (k.curHighAlsoAsciiOrLead && nibble <= 0x7)) {
                t.curHigh[n] |= k.bit;
            }
        }
    }
    return t;
}

constexpr PairTables kPairTables = MakePairTables();

// 32 zero bytes, then 32 bytes of ones: the 16 or 32 bytes at kEdge + 32 - n
// clear the first n bytes of a block and keep the rest.
constexpr std::array<unsigned char, 64> kEdge = [] {
    std::array<unsigned char, 64> edge{};
    for (std::size_t i = 32; i < edge.size(); ++i) {
        edge[i] = 0xFF;
    }
    return edge;
}();

// The first aligned block that holds p, and the bytes of it before p.
struct Start {
    std::uintptr_t block;
    unsigned skip;
};

Start StartOf(const unsigned char *p, std::uintptr_t cbBlock) noexcept
{
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    return {at - at % cbBlock, static_cast<unsigned>(at % cbBlock)};
}

unsigned TrailingZeros(std::uint32_t n) noexcept { return static_cast<unsigned>(__builtin_ctz(n)); }

// 16 bytes at a time.

[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS inline __m128i Load16(std::uintptr_t at) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(at));
}

[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS inline __m128i KeepFrom16(unsigned n) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(kEdge.data() + 32 - n));
}

[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS inline __m128i Table16(const std::array<unsigned char, 32> &t) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(t.data()));
}

// Errors in block cur, given the block before it.
[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS inline __m128i Errors16(__m128i prev, __m128i cur) noexcept
{
    const __m128i lowNibbles = _mm_set1_epi8(0x0F);
    const __m128i prev1 = _mm_alignr_epi8(cur, prev, 15);
    const __m128i high1 = _mm_and_si128(_mm_srli_epi16(prev1, 4), lowNibbles);
    const __m128i low1 = _mm_and_si128(prev1, lowNibbles);
    const __m128i high2 = _mm_and_si128(_mm_srli_epi16(cur, 4), lowNibbles);
    const __m128i pairs = _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(Table16(kPairTables.prevHigh), high1),
                                                      _mm_shuffle_epi8(Table16(kPairTables.prevLow), low1)),
                                        _mm_shuffle_epi8(Table16(kPairTables.curHigh), high2));
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

// Every byte of the block is ASCII and none is the terminator: 1..127 are
// the positive bytes.
[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS inline bool Plain16(__m128i block) noexcept
{
    return _mm_movemask_epi8(_mm_cmpgt_epi8(block, _mm_setzero_si128())) == 0xFFFF;
}

// Checks the text a 16-byte block at a time. The blocks are read whole;
// the bytes before the text and from the terminator on are cleared before
// the classification, so that a sequence the terminator cuts short fails.
// Pairs within runs of ASCII need no classification.
[[gnu::target("ssse3")]] VELKC_WHOLE_BLOCKS Utf8Check CheckSsse3(const unsigned char *p) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    const auto [first, skip] = StartOf(p, 16);
    std::uintptr_t at = first;
    __m128i raw = Load16(at);
    __m128i cur = _mm_and_si128(raw, KeepFrom16(skip));
    __m128i prev = zero; // ASCII stands for the block before the text
    __m128i errors = zero;
    if (const auto nul = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(raw, zero))) >> skip; nul != 0) {
        const unsigned cb = TrailingZeros(nul);
        cur = _mm_andnot_si128(KeepFrom16(skip + cb), cur);
        if (_mm_movemask_epi8(cur) != 0) {
            errors = Errors16(prev, cur);
        }
        return {cb, _mm_movemask_epi8(_mm_cmpeq_epi8(errors, zero)) == 0xFFFF};
    }
    for (;;) {
        // cur is a whole block of the text, before its terminator.
        if (_mm_movemask_epi8(cur) == 0) {
            if (_mm_movemask_epi8(prev) != 0) {
                errors = _mm_or_si128(errors, Errors16(prev, cur));
            }
            do {
                at += 16;
                raw = Load16(at);
            } while (Plain16(raw));
            prev = zero;
        } else {
            errors = _mm_or_si128(errors, Errors16(prev, cur));
            prev = cur;
            at += 16;
            raw = Load16(at);
        }
        if (const auto nul = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(raw, zero))); nul != 0) {
            const unsigned cb = TrailingZeros(nul);
            errors = _mm_or_si128(errors, Errors16(prev, _mm_andnot_si128(KeepFrom16(cb), raw)));
            return {at - reinterpret_cast<std::uintptr_t>(p) + cb,
                    _mm_movemask_epi8(_mm_cmpeq_epi8(errors, zero)) == 0xFFFF};
        }
        cur = raw;
    }
}

// 32 bytes at a time: the same, with the classification of each 16-byte
// lane taking the bytes before it from the lane or the block before.

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline __m256i Load32(std::uintptr_t at) noexcept
{
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(at));
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline __m256i KeepFrom32(unsigned n) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(kEdge.data() + 32 - n));
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline __m256i Table32(const std::array<unsigned char, 32> &t) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(t.data()));
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline __m256i Errors32(__m256i prev, __m256i cur) noexcept
{
    const __m256i lowNibbles = _mm256_set1_epi8(0x0F);
    // The last lane of prev and the first of cur: the bytes before each
    // lane of cur.
    const __m256i before = _mm256_permute2x128_si256(prev, cur, 0x21);
    const __m256i prev1 = _mm256_alignr_epi8(cur, before, 15);
    const __m256i high1 = _mm256_and_si256(_mm256_srli_epi16(prev1, 4), lowNibbles);
    const __m256i low1 = _mm256_and_si256(prev1, lowNibbles);
    const __m256i high2 = _mm256_and_si256(_mm256_srli_epi16(cur, 4), lowNibbles);
    const __m256i pairs = _mm256_and_si256(_mm256_and_si256(_mm256_shuffle_epi8(Table32(kPairTables.prevHigh), high1),
                                                            _mm256_shuffle_epi8(Table32(kPairTables.prevLow), low1)),
                                           _mm256_shuffle_epi8(Table32(kPairTables.curHigh), high2));
    const __m256i prev2 = _mm256_alignr_epi8(cur, before, 14);
    const __m256i prev3 = _mm256_alignr_epi8(cur, before, 13);
    const __m256i third = _mm256_subs_epu8(prev2, _mm256_set1_epi8(static_cast<char>(0xE0 - 0x80)));
    const __m256i fourth = _mm256_subs_epu8(prev3, _mm256_set1_epi8(static_cast<char>(0xF0 - 0x80)));
    const __m256i required =
        _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(static_cast<char>(0x80)));
    return _mm256_xor_si256(required, pairs);
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline bool Plain32(__m256i block) noexcept
{
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpgt_epi8(block, _mm256_setzero_si256()))) ==
           0xFFFFFFFFu;
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline std::uint32_t Nuls32(__m256i block) noexcept
{
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(block, _mm256_setzero_si256())));
}

// The first block from at on that is not plain ASCII. Each block is looked
// at before the next is read, so that no read lies wholly past the
// terminator (where a memory checker would take it for an overflow); the
// loop goes four blocks a turn.
[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS inline std::uintptr_t NextMixed32(std::uintptr_t at) noexcept
{
    for (;; at += 128) {
        for (std::uintptr_t k = 0; k < 128; k += 32) {
            if (!Plain32(Load32(at + k))) {
                return at + k;
            }
        }
    }
}

[[gnu::target("avx2")]] VELKC_WHOLE_BLOCKS Utf8Check CheckAvx2(const unsigned char *p) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const auto [first, skip] = StartOf(p, 32);
    std::uintptr_t at = first;
    __m256i raw = Load32(at);
    __m256i cur = _mm256_and_si256(raw, KeepFrom32(skip));
    __m256i prev = zero;
    __m256i errors = zero;
    if (const std::uint32_t nul = Nuls32(raw) >> skip; nul != 0) {
        const unsigned cb = TrailingZeros(nul);
        cur = _mm256_andnot_si256(KeepFrom32(skip + cb), cur);
        if (_mm256_movemask_epi8(cur) != 0) {
            errors = Errors32(prev, cur);
        }
        return {cb, _mm256_testz_si256(errors, errors) != 0};
    }
    for (;;) {
        if (_mm256_movemask_epi8(cur) == 0) {
            if (_mm256_movemask_epi8(prev) != 0) {
                errors = _mm256_or_si256(errors, Errors32(prev, cur));
            }
            at = NextMixed32(at + 32);
            raw = Load32(at);
            prev = zero;
        } else {
            errors = _mm256_or_si256(errors, Errors32(prev, cur));
            prev = cur;
            at += 32;
            raw = Load32(at);
        }
        if (const std::uint32_t nul = Nuls32(raw); nul != 0) {
            const unsigned cb = TrailingZeros(nul);
            errors = _mm256_or_si256(errors, Errors32(prev, _mm256_andnot_si256(KeepFrom32(cb), raw)));
            return {at - reinterpret_cast<std::uintptr_t>(p) + cb, _mm256_testz_si256(errors, errors) != 0};
        }
        cur = raw;
    }
}

#endif

using CheckFn = Utf8Check (*)(const unsigned char *) noexcept;

CheckFn Implementation(Utf8Checker checker) noexcept
{
    switch (checker) {
#if VELKC_UTF8_VECTORS
    case Utf8Checker::kAvx2:
        return CheckAvx2;
    case Utf8Checker::kSsse3:
        return CheckSsse3;
#endif
    default:
        return CheckScalar;
    }
}

// The implementation in use, chosen by the first call. Racing first calls
// choose the same one, and a child process inherits the choice.
std::atomic<CheckFn> gCheck{nullptr};

} // namespace

namespace velkc::unicode {

bool Utf8CheckerRuns(Utf8Checker checker) noexcept
{
#if VELKC_UTF8_VECTORS
    // The CPU is otherwise described only once the constructors have run.
    __builtin_cpu_init();
#endif
    switch (checker) {
    case Utf8Checker::kScalar:
        return true;
#if VELKC_UTF8_VECTORS
    case Utf8Checker::kSsse3:
        return __builtin_cpu_supports("ssse3") != 0;
    case Utf8Checker::kAvx2:
        return __builtin_cpu_supports("avx2") != 0;
#endif
    default:
        return false;
    }
}

Utf8Checker BestUtf8Checker() noexcept
{
    for (const Utf8Checker checker : {Utf8Checker::kAvx2, Utf8Checker::kSsse3}) {
        if (Utf8CheckerRuns(checker)) {
            return checker;
        }
    }
    return Utf8Checker::kScalar;
}

Utf8Check CheckUtf8(const char *psz) noexcept
{
    CheckFn check = gCheck.load(std::memory_order_relaxed);
    if (check == nullptr) {
        check = Implementation(BestUtf8Checker());
        gCheck.store(check, std::memory_order_relaxed);
    }
    return check(reinterpret_cast<const unsigned char *>(psz));
}

Utf8Check CheckUtf8With(Utf8Checker checker, const char *psz) noexcept
{
    return Implementation(checker)(reinterpret_cast<const unsigned char *>(psz));
}

} // namespace velkc::unicode
