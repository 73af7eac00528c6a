// The UTF-8 check of NUL-terminated text, in a scalar and in vector
// implementations, one of them chosen for this CPU at the first call.
// Depends on nothing else of the library, so that a test or a benchmark can
// compile it in. Not installed.
#pragma once

#include <cstddef>

namespace velkc::unicode {

// What one pass over a NUL-terminated string learns: whether it is
// well-formed UTF-8 as the converter judges it (shortest forms only, no
// surrogates, nothing above U+10FFFF, no sequence cut short), and its
// length, which is exact when it is.
struct Utf8Check {
    std::size_t cb = 0;
    bool valid = false;
};

// The implementations: each gives the same answers.
enum class Utf8Checker { kScalar, kSsse3, kAvx2 };

// Whether this CPU runs the implementation.
bool Utf8CheckerRuns(Utf8Checker checker) noexcept;

// The implementation CheckUtf8 uses: the fastest that this CPU runs.
Utf8Checker BestUtf8Checker() noexcept;

// Checks the text with the best implementation. The vector ones read whole
// aligned blocks, which may reach past the terminator but never into
// another page.
Utf8Check CheckUtf8(const char *psz) noexcept;

// Checks the text with the given implementation; it must run on this CPU.
Utf8Check CheckUtf8With(Utf8Checker checker, const char *psz) noexcept;

} // namespace velkc::unicode
