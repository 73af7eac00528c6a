// Line classification shared by the configuration-file functions.
#pragma once

#include "internal/status.hpp"

#include <velkc/file.h>

#include <optional>
#include <string_view>

namespace velkc {

// A comment line starts with '#' or ';' in its very first column; leading
// blanks make an ordinary line. Comments never match keys or patterns.
constexpr bool IsCommentLine(const char *line) noexcept { return line[0] == '#' || line[0] == ';'; }

// The header line "[name]" of the named section, white space after it
// allowed.
bool IsHeaderOf(std::string_view line, std::string_view name) noexcept;

// True when line starts a section, header or not: the section readers end a
// section at any line that starts with "[".
constexpr bool StartsSection(std::string_view line) noexcept { return line.starts_with('['); }

// A line of nothing but blanks.
constexpr bool IsBlankLine(std::string_view line) noexcept
{
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// A line as the C string functions see it: up to its first NUL.
constexpr std::string_view AsCString(std::string_view line) noexcept { return line.substr(0, line.find('\0')); }

// Ends a view that lies inside a NUL-terminated buffer with a NUL, in
// place, for as long as the object lives; the byte is put back afterwards.
class ScopedCString {
public:
    explicit ScopedCString(std::string_view text) noexcept
        : text_(text), end_(const_cast<char *>(text.data() + text.size())), saved_(*end_)
    {
        *end_ = '\0';
    }
    ScopedCString(const ScopedCString &) = delete;
    ScopedCString &operator=(const ScopedCString &) = delete;
    ~ScopedCString() { *end_ = saved_; }

    const char *c_str() const noexcept { return text_.data(); }

private:
    std::string_view text_;
    char *end_;
    char saved_;
};

// The key of a line: its first token at "=" that is not empty, white space
// and one pair of double quotes trimmed. None for a comment or a line of
// nothing but "=".
std::optional<std::string_view> LineKey(std::string_view line) noexcept;

// True when line is a key line of key.
inline bool IsKeyLineOf(std::string_view line, std::string_view key) noexcept
{
    const std::optional<std::string_view> lineKey = LineKey(line);
    return lineKey && *lineKey == key;
}

// VELKCILineMatch's test (negative flags match nothing): sets matched, or fails with ERR_OUT_OF_MEMORY
// instead of answering "no" when a working copy cannot be had.
Status MatchLine(const char *line, const char *pattern, int flags, bool &matched);

// Refuses a key or value that would change the structure of the file it is
// written to: a line break in either; in the key an "=", nothing but blanks,
// or a first character that starts a section header or a comment.
bool IsSafeKey(const char *key) noexcept;
bool IsSafeValue(const char *value) noexcept;
// The same, giving the size of a key or value that is safe.
std::optional<std::size_t> SafeKeySize(const char *key) noexcept;
std::optional<std::size_t> SafeValueSize(const char *value) noexcept;

} // namespace velkc
