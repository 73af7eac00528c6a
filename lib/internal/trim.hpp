// Trimming as VELKCStrTrim and VELKCStrTrimSpace trim, on views: shared by
// the byte-string functions and the configuration readers and editors,
// which must read a key or value exactly as those functions give it back.
#pragma once

#include <string_view>

namespace velkc {

// The bytes VELKCStrTrimSpace strips.
inline constexpr std::string_view kWhitespace = " \t\n\r";

constexpr bool IsWhitespace(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

enum class Quotes { Keep, StripOnePair };

// text without the bytes that strip accepts at both ends and, with
// Quotes::StripOnePair, then without one pair of enclosing double quotes
// (the first and the last byte both quotes, and two different bytes). An
// empty result keeps a data pointer into text.
template <typename Strip>
constexpr std::string_view Trim(std::string_view text, Strip strip, Quotes quotes) noexcept
{
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && strip(text[begin])) {
        ++begin;
    }
    while (end > begin && strip(text[end - 1])) {
        --end;
    }
    if (quotes == Quotes::StripOnePair && end - begin >= 2 && text[begin] == '"' && text[end - 1] == '"') {
        ++begin;
        --end;
    }
    return text.substr(begin, end - begin);
}

// As VELKCStrTrimSpace trims.
constexpr std::string_view TrimSpace(std::string_view text) noexcept
{
    return Trim(text, IsWhitespace, Quotes::StripOnePair);
}

} // namespace velkc
