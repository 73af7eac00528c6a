// Key/value lines as the section readers split them, and the lines that the
// section editors write in a file's own style.
#pragma once

#include "internal/status.hpp"
#include "output.hpp"

#include <cstddef>
#include <optional>
#include <string_view>

namespace velkc {

// A pair line split as the section readers split it: the key is what stands
// before the first "=", the value what follows it, both trimmed of blanks
// and then of one pair of enclosing double quotes.
struct PairLine {
    std::string_view key;
    std::size_t valueBegin; // where the value's bytes start in the line
    std::size_t valueEnd;   // where they end; the same for an empty value
    bool quoted;            // quotes enclose the value: they stay when it is replaced

    // The value as the readers give it.
    std::string_view Value(std::string_view line) const noexcept
    {
        return line.substr(valueBegin, valueEnd - valueBegin);
    }
};

// True when the readers give text, written as a key or value, back byte
// for byte: no blanks at its ends, no pair of quotes around it.
bool ReadsBackWhole(std::string_view text) noexcept;

// A key the section editors write: one that does not change the file's
// structure and that the readers give back as it is.
bool IsSectionKey(const char *key) noexcept;

// None for a comment, a line that starts a section, a line without "=", or
// one whose key is empty.
std::optional<PairLine> SplitPair(std::string_view line) noexcept;

// True when a line ends in a backslash: its value goes on on the next line.
bool ContinuesOnNextLine(std::string_view line) noexcept;

// "\r\n" when the line ends so, else "\n".
std::string_view LineEnding(std::string_view line) noexcept;

// How a file spells its pairs: the indentation, the blanks around "=" and
// the line ending.
class PairStyle {
public:
    // "key=value" and "\n".
    PairStyle() = default;
    // The style of a line that SplitPair splits.
    explicit PairStyle(std::string_view line) noexcept;

    // True when taken from a line.
    bool known() const noexcept { return known_; }
    std::string_view eol() const noexcept { return crlf_ ? "\r\n" : "\n"; }
    // The same without indentation.
    void Unindent() noexcept { indent_.size = 0; }
    // The same with the line ending of a neighbouring line.
    void UseEnding(std::string_view line) noexcept { crlf_ = LineEnding(line).size() == 2; }

    // Writes a pair line of key and value in this style: the value in quotes
    // where the readers would otherwise trim it, and the line ending unless
    // the line is to be the file's unterminated last one.
    Status Write(Output &out, std::string_view key, std::string_view value, bool terminated = true) const;

private:
    // Blanks of one place in the line; longer runs are not copied.
    struct Blanks {
        char bytes[16] = {};
        std::size_t size = 0;
        void Take(std::string_view text) noexcept;
        std::string_view view() const noexcept { return {bytes, size}; }
    };

    Blanks indent_;
    Blanks beforeEquals_;
    Blanks afterEquals_;
    bool crlf_ = false;
    bool known_ = false;
};

// Writes line with its value replaced: everything else of the line, its
// key as spelled, blanks, quotes and line ending, stays as it is.
Status WriteWithValue(Output &out, std::string_view line, const PairLine &pair, std::string_view value);

} // namespace velkc
