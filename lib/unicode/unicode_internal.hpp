// Conversion helpers and the ICU lock shared by the Unicode sources. Not
// installed.
#pragma once

#include "internal/internal.hpp"

#include <cstddef>
#include <string_view>
#include <unicode/ucol.h>
#include <unicode/utypes.h>

namespace velkc::unicode {

// Held, shared, around every ICU call the library makes. A fork takes it
// exclusively first, so no thread of ours is inside ICU, perhaps holding
// one of ICU's own locks, when the child is created: that child could
// otherwise block on the lock for ever. Never nest two of these in one
// thread: a fork waiting for the lock would deadlock with the inner one.
class IcuCall {
public:
    IcuCall() noexcept;
    ~IcuCall();
    IcuCall(const IcuCall &) = delete;
    IcuCall &operator=(const IcuCall &) = delete;
};

// Runs one ICU call under the lock and returns its result.
template <typename Call>
auto WithIcu(Call call) noexcept
{
    const IcuCall icu;
    return call();
}

// For two well-formed NUL-terminated UTF-8 strings whose first i bytes
// agree: the last place at or before i from which the collator weighs each
// text apart from the part before it, so that the order of the rests is the
// order of the texts. 0 when the rank table cannot stand in for pColl.
std::size_t SplitBefore(const UCollator *pColl, const char *pszA, const char *pszB, std::size_t i) noexcept;

// Orders two well-formed NUL-terminated UTF-8 strings, equal before a place
// i that SplitBefore gave, as the collator orders their upper-cased forms,
// through a rank table built once from pColl, as long as the text from i on
// is ASCII. Returns -1, 0 or 1; or kNoDecision when a character that is not
// ASCII comes before the answer, or when the table cannot stand in for the
// collator.
inline constexpr int kNoDecision = 2;
int CompareAsciiUpperFrom(const UCollator *pColl, const char *pszA, const char *pszB, std::size_t i) noexcept;

// Compares two well-formed UTF-8 strings as the collator orders their
// upper-cased UTF-16 forms, converting and upper-casing only as far as the
// collator reads. Stores -1, 0 or 1 in *pResult and returns 0, or returns
// the error code for the caller to record.
unsigned CollateUpper(const UCollator *pColl, std::string_view a, std::string_view b, int *pResult) noexcept;

// Returned by UTF8ToUpperUTF16 when a callee has already recorded the error.
inline constexpr unsigned kErrRecorded = ~0u;

// Converts UTF-8 text to UTF-16 and upper-cases it (root locale, full
// mapping) into *ppUpper, a NUL-terminated heap buffer the caller owns.
// *pcch receives its length in units. Returns 0, or the error code the
// caller records; kErrRecorded if it is recorded already.
unsigned UTF8ToUpperUTF16(const char *psz, MallocPtr<UChar> *ppUpper, int *pcch) noexcept;

} // namespace velkc::unicode
