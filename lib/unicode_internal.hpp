// Conversion helpers shared by the Unicode sources. Not installed.
#pragma once

#include "internal.hpp"

#include <unicode/utypes.h>

namespace velkc::unicode {

// Returned by UTF8ToUpperUTF16 when a callee has already recorded the error.
inline constexpr unsigned kErrRecorded = ~0u;

// Converts UTF-8 text to UTF-16 and upper-cases it (root locale, full
// mapping) into *ppUpper, a NUL-terminated heap buffer the caller owns.
// *pcch receives its length in units. Returns 0, or the error code the
// caller records; kErrRecorded if it is recorded already.
unsigned UTF8ToUpperUTF16(const char *psz, MallocPtr<UChar> *ppUpper, int *pcch) noexcept;

} // namespace velkc::unicode
