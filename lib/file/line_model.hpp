// Line classification shared by the configuration-file functions.
#pragma once

#include "internal/little_endian.hpp"
#include "internal/status.hpp"
#include "internal/trim.hpp"

#include <velkc/file.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
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

namespace detail {

constexpr std::uint64_t kOnes = 0x0101010101010101u;
constexpr std::uint64_t kHighs = 0x8080808080808080u;

// The bytes of word equal to c, as the high bit of each: exact up to the
// lowest one, which is all a scan looks at.
constexpr std::uint64_t BytesEqual(std::uint64_t word, char c) noexcept
{
    word ^= kOnes * static_cast<unsigned char>(c);
    return (word - kOnes) & ~word & kHighs;
}

// The index of the byte whose high bit is the lowest bit of marks.
constexpr std::size_t FirstMarked(std::uint64_t marks) noexcept
{
    return static_cast<std::size_t>(std::countr_zero(marks)) / CHAR_BIT;
}

// The bytes that end a key: "=" and NUL.
constexpr std::uint64_t KeyStops(std::uint64_t word) noexcept { return BytesEqual(word, '\0') | BytesEqual(word, '='); }
constexpr bool IsKeyStop(char c) noexcept { return c == '=' || c == '\0'; }

// The first byte of text at or after at that is (one of whose word's marks
// the bytes that are), or size: eight bytes at a time, since the writers
// scan every line they pass over so.
template <typename Marks, typename Is>
[[gnu::always_inline]] inline std::size_t FindFirst(const char *text, std::size_t at, std::size_t size, Marks marks,
                                                    Is is) noexcept
{
    for (; at + sizeof(std::uint64_t) <= size; at += sizeof(std::uint64_t)) {
        if (const std::uint64_t found = marks(LoadLittleEndian<std::uint64_t>(text + at))) {
            return at + FirstMarked(found);
        }
    }
    while (at < size && !is(text[at])) {
        ++at;
    }
    return at;
}

} // namespace detail

// The first "=" or NUL of line at or after at, or its size.
inline std::size_t KeyEnd(std::string_view line, std::size_t at) noexcept
{
    return detail::FindFirst(line.data(), at, line.size(), detail::KeyStops, detail::IsKeyStop);
}

// A line cut from a buffer by ScanLine, with the KeyEnd of it from its
// start, so that LineKey need not read it again.
struct ScannedLine {
    std::string_view text; // "\n" kept
    std::size_t keyEnd;    // KeyEnd(text, 0)
};

namespace detail {

// The newlines and the key stops of one block of bytes, one mark a byte,
// the first byte lowest. Sixteen bytes at a time where the processor
// compares them at once, else eight in a word.
struct BlockMarks {
    std::uint64_t newlines;
    std::uint64_t stops;
};
#if defined(__SSE2__)
constexpr std::size_t kBlockSize = 16;
constexpr std::size_t kMarkBits = 1;
inline BlockMarks MarkBlock(const char *text) noexcept
{
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
    const auto marks = [block](char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
    return {static_cast<std::uint32_t>(_mm_movemask_epi8(marks('\n'))),
            static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_or_si128(marks('='), marks('\0'))))};
}
#else
constexpr std::size_t kBlockSize = sizeof(std::uint64_t);
constexpr std::size_t kMarkBits = CHAR_BIT;
inline BlockMarks MarkBlock(const char *text) noexcept
{
    const std::uint64_t word = LoadLittleEndian<std::uint64_t>(text);
    return {BytesEqual(word, '\n'), KeyStops(word)};
}
#endif

} // namespace detail

// The line at the start of [begin, end), up to and with its first "\n",
// or none when there is no "\n". One pass finds both the line's end and
// its KeyEnd: writers that look up the key of every line they pass over
// read each byte once.
[[gnu::always_inline]] inline std::optional<ScannedLine> ScanLine(const char *begin, const char *end) noexcept
{
    const std::size_t size = static_cast<std::size_t>(end - begin);
    std::size_t keyEnd = size; // none found yet
    std::size_t at = 0;
    for (; at + detail::kBlockSize <= size; at += detail::kBlockSize) {
        const detail::BlockMarks marks = detail::MarkBlock(begin + at);
        if (keyEnd == size && marks.stops != 0) {
            keyEnd = at + static_cast<std::size_t>(std::countr_zero(marks.stops)) / detail::kMarkBits;
        }
        if (marks.newlines != 0) {
            const std::size_t newline =
                at + static_cast<std::size_t>(std::countr_zero(marks.newlines)) / detail::kMarkBits;
            return ScannedLine{{begin, newline + 1}, std::min(keyEnd, newline + 1)};
        }
    }
    // The few bytes at the end of the buffer.
    for (; at < size; ++at) {
        if (keyEnd == size && detail::IsKeyStop(begin[at])) {
            keyEnd = at;
        }
        if (begin[at] == '\n') {
            return ScannedLine{{begin, at + 1}, std::min(keyEnd, at + 1)};
        }
    }
    return std::nullopt;
}

namespace detail {

// A key token, not empty, with white space and one pair of double quotes
// trimmed.
[[gnu::always_inline]] inline std::string_view TrimKey(std::string_view token) noexcept
{
    const auto trimmed = [](char c) { return IsWhitespace(c) || c == '"'; };
    if (!trimmed(token.front()) && !trimmed(token.back())) {
        return token; // the common key, with nothing to trim
    }
    return TrimSpace(token);
}

} // namespace detail

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
    return detail::TrimKey(std::string_view(line.data() + start, KeyEnd(line, start) - start));
}

// The same for a line ScanLine cut, without reading it again.
[[gnu::always_inline]] inline std::optional<std::string_view> LineKey(const ScannedLine &line) noexcept
{
    if (line.keyEnd == 0) {
        return LineKey(line.text); // a leading "=" or NUL, rare: the key lies further or not at all
    }
    if (IsCommentLine(line.text.data())) {
        return std::nullopt;
    }
    return detail::TrimKey(std::string_view(line.text.data(), line.keyEnd));
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
