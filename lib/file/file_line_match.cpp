// VELKCILineMatch: does a line contain, begin with or end with a pattern,
// optionally without regard to case.
#include "internal.hpp"
#include "line_model.hpp"

#include <velkc/file.h>
#include <velkc/unicode.h>

#include <climits>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

enum class Upper { kOk, kNoMemory, kFailed };

// Upper-cases text into a new buffer. Upper-casing may lengthen the text
// ("ß" becomes "SS"), so the buffer grows until the result fits.
Upper UpperCopy(const char *text, velkc::MallocPtr<char> &out)
{
    std::size_t cb = std::strlen(text) + 1;
    for (;;) {
        if (cb > INT_MAX) {
            return Upper::kFailed;
        }
        out.reset(static_cast<char *>(std::malloc(cb)));
        if (!out) {
            return Upper::kNoMemory;
        }
        const int len = VELKCUnicodeUTF8StrUpper(text, out.get(), static_cast<int>(cb));
        if (len < 0) {
            return Upper::kFailed;
        }
        if (static_cast<std::size_t>(len) < cb) {
            return Upper::kOk;
        }
        cb = static_cast<std::size_t>(len) + 1;
    }
}

// The suffix is compared with the bytes before the line's last "\n" (or its
// end), so the newline is ignored but a "\r" before it is not.
bool Matches(std::string_view line, std::string_view pattern, int flags)
{
    if (flags & MATCH_FLAG_PREFIX) {
        return line.starts_with(pattern);
    }
    if (flags & MATCH_FLAG_SUFFIX) {
        const std::size_t newline = line.rfind('\n');
        return line.substr(0, newline).ends_with(pattern);
    }
    return line.find(pattern) != std::string_view::npos;
}

} // namespace

extern "C" int VELKCILineMatch(const char *szLine, const char *szPattern, int flags) noexcept
{
    if (szLine == nullptr || szPattern == nullptr || flags < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return 0;
    }
    if (velkc::IsCommentLine(szLine)) {
        return 0;
    }
    if (!(flags & MATCH_FLAG_IGNORE_CASE)) {
        return Matches(szLine, szPattern, flags);
    }
    velkc::MallocPtr<char> line;
    velkc::MallocPtr<char> pattern;
    for (auto [text, upper] : {std::pair{szLine, &line}, std::pair{szPattern, &pattern}}) {
        switch (UpperCopy(text, *upper)) {
        case Upper::kOk:
            break;
        case Upper::kNoMemory:
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return 0;
        case Upper::kFailed:
            return 0; // the conversion has recorded its own error
        }
    }
    return Matches(line.get(), pattern.get(), flags);
}
