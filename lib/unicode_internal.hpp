// Conversion helpers and the ICU lock shared by the Unicode sources. Not
// installed.
#pragma once

#include "internal.hpp"

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

// Returned by UTF8ToUpperUTF16 when a callee has already recorded the error.
inline constexpr unsigned kErrRecorded = ~0u;

// Converts UTF-8 text to UTF-16 and upper-cases it (root locale, full
// mapping) into *ppUpper, a NUL-terminated heap buffer the caller owns.
// *pcch receives its length in units. Returns 0, or the error code the
// caller records; kErrRecorded if it is recorded already.
unsigned UTF8ToUpperUTF16(const char *psz, MallocPtr<UChar> *ppUpper, int *pcch) noexcept;

} // namespace velkc::unicode
