// Line classification shared by the configuration-file functions.
#pragma once

#include "internal/status.hpp"
#include "internal/trim.hpp"

#include <velkc/file.h>

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
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

// The first "=" or NUL of line at or after at, or its size: eight bytes at
// a time, since every line of a file a writer passes over is scanned so.
inline std::size_t KeyEnd(std::string_view line, std::size_t at) noexcept
{
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kHighs = 0x8080808080808080u;
    // The high bit of the lowest zero byte of word is the lowest bit set.
    const auto zeroBytes = [](std::uint64_t word) { return (word - kOnes) & ~word & kHighs; };
    for (; at + sizeof(std::uint64_t) <= line.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word;
        std::memcpy(&word, line.data() + at, sizeof word);
        const std::uint64_t stops = zeroBytes(word) | zeroBytes(word ^ (kOnes * '='));
        if (stops != 0) {
            return at + static_cast<std::size_t>(std::countr_zero(stops)) / CHAR_BIT;
        }
    }
    while (at < line.size() && line[at] != '=' && line[at] != '\0') {
        ++at;
    }
    return at;
}

// The key of a line: its first token at "=" that is not empty, white space
// and one pair of double quotes trimmed. None for a comment or a line of
// nothing but "=". Inline: writers ask it of every line they pass over.
inline std::optional<std::string_view> LineKey(std::string_view line) noexcept
{
    // The line ends at its first NUL for the C string functions. One pass
    // up to the key's "=" reads no more of a long line than it needs.
    if (line.empty() || IsCommentLine(line.data())) {
        return std::nullopt;
    }
    // Tokens at "=" skip empty ones, so "=k=v" is a line of "k".
    std::size_t start = 0;
    while (line[start] == '=') {
        if (++start == line.size()) {
            return std::nullopt;
        }
    }
    if (line[start] == '\0') {
        return std::nullopt;
    }
    // Not empty: it starts with a byte that is neither "=" nor NUL.
    const std::string_view token(line.data() + start, KeyEnd(line, start) - start);
    const auto trimmed = [](char c) { return IsWhitespace(c) || c == '"'; };
    if (!trimmed(token.front()) && !trimmed(token.back())) {
        return token; // the common key, with nothing to trim
    }
    return TrimSpace(token);
}

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
