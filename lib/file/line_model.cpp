// Line classification shared by the configuration-file functions.
#include "line_model.hpp"

#include "internal/internal.hpp"

#include <velkc/unicode.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace velkc {

namespace {

enum class Upper { kOk, kNoMemory, kFailed };

// Upper-cases text into a new buffer. Upper-casing may lengthen the text
// ("ß" becomes "SS"), so the buffer grows until the result fits.
Upper UpperCopy(const char *text, MallocPtr<char> &out)
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
            // Text that does not convert simply does not match; running out
            // of memory means the answer is unknown.
            return VELKCErrGet() == ERR_OUT_OF_MEMORY ? Upper::kNoMemory : Upper::kFailed;
        }
        if (static_cast<std::size_t>(len) < cb) {
            return Upper::kOk;
        }
        cb = static_cast<std::size_t>(len) + 1;
    }
}

// The suffix is compared with the bytes before the line's last "\n" (or its
// end), so the newline is ignored but a "\r" before it is not.
bool Matches(std::string_view line, std::string_view pattern, int flags) noexcept
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

// The bytes a scan stops at, the NUL among them.
struct StopBytes {
    bool stop[UCHAR_MAX + 1] = {};
};

constexpr StopBytes MakeStopBytes(std::string_view bytes) noexcept
{
    StopBytes stops;
    stops.stop[0] = true;
    for (char c : bytes) {
        stops.stop[static_cast<unsigned char>(c)] = true;
    }
    return stops;
}

constexpr StopBytes kKeyStops = MakeStopBytes("=\r\n");
constexpr StopBytes kValueStops = MakeStopBytes("\r\n");

// The size of text up to its first stop byte. A table lookup per byte: the
// keys and values of pairs are short, too short to repay a library call.
// Four bytes a round, each read only once the one before it is known not
// to be the NUL.
std::size_t SpanUntil(const char *text, const StopBytes &stops) noexcept
{
    const auto stopsAt = [&](std::size_t at) { return stops.stop[static_cast<unsigned char>(text[at])]; };
    for (std::size_t size = 0;; size += 4) {
        if (stopsAt(size)) {
            return size;
        }
        if (stopsAt(size + 1)) {
            return size + 1;
        }
        if (stopsAt(size + 2)) {
            return size + 2;
        }
        if (stopsAt(size + 3)) {
            return size + 3;
        }
    }
}

} // namespace

bool IsHeaderOf(std::string_view line, std::string_view name) noexcept
{
    const std::size_t close = name.size() + 1;
    if (line.size() <= close || line[0] != '[' || line.substr(1, name.size()) != name || line[close] != ']') {
        return false;
    }
    return std::all_of(line.begin() + static_cast<long>(close) + 1, line.end(),
                       [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; });
}

Status MatchLine(const char *line, const char *pattern, int flags, bool &matched)
{
    matched = false;
    if (flags < 0 || IsCommentLine(line)) {
        return kOk;
    }
    if (!(flags & MATCH_FLAG_IGNORE_CASE)) {
        matched = Matches(line, pattern, flags);
        return kOk;
    }
    MallocPtr<char> upperLine;
    MallocPtr<char> upperPattern;
    for (auto [text, upper] : {std::pair{line, &upperLine}, std::pair{pattern, &upperPattern}}) {
        switch (UpperCopy(text, *upper)) {
        case Upper::kOk:
            break;
        case Upper::kNoMemory:
            return ERR_OUT_OF_MEMORY;
        case Upper::kFailed:
            return kOk; // no match; the conversion has recorded why
        }
    }
    matched = Matches(upperLine.get(), upperPattern.get(), flags);
    return kOk;
}

// These run on every pair a writer is handed, and give the sizes they find
// to the writers that go on to copy the pairs.
std::optional<std::size_t> SafeKeySize(const char *key) noexcept
{
    const std::size_t size = SpanUntil(key, kKeyStops);
    std::size_t blanks = 0;
    while (key[blanks] == ' ' || key[blanks] == '\t') {
        ++blanks;
    }
    if (key[size] != '\0' || blanks >= size || key[0] == '[' || IsCommentLine(key)) {
        return std::nullopt;
    }
    return size;
}

std::optional<std::size_t> SafeValueSize(const char *value) noexcept
{
    const std::size_t size = SpanUntil(value, kValueStops);
    return value[size] == '\0' ? std::optional<std::size_t>(size) : std::nullopt;
}

bool IsSafeKey(const char *key) noexcept { return SafeKeySize(key).has_value(); }

bool IsSafeValue(const char *value) noexcept { return SafeValueSize(value).has_value(); }

} // namespace velkc
