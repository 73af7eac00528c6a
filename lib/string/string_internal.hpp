// Helpers shared by the byte-string functions. Not installed.
#pragma once

#include "internal/trim.hpp"

#include <velkc/list.h>

#include <array>
#include <string_view>

namespace velkc {

// Strips the bytes of `set` from both ends of szInput and, with
// Quotes::StripOnePair, then one pair of enclosing double quotes. The result
// goes to szOutput, or back to the start of szInput when szOutput is null or
// equal to it. Returns the result's length, or -1 for a null input or an
// output that starts inside the input's text (the copy would overrun its own
// source); the caller records that error.
int TrimText(char *szInput, char *szOutput, std::string_view set, Quotes quotes);

// What AppendTokens does with the empty token between two adjacent
// separators (or at either end): kept as strsep gives it, or dropped as
// VELKCStrTokIndex does.
enum class EmptyTokens { Keep, Drop };

// Cuts text in place at every byte of szSep and appends the tokens in order.
// Returns the number appended, or -1 when a push fails (the push has set the
// error record; the list keeps what was appended before).
int AppendTokens(char *text, const char *szSep, SzList **ppList, EmptyTokens empty);

// Colon escape: ESCAPE introduces a two-byte unit whose second byte names the
// escaped byte, so that colon-separated records can carry colons.
inline constexpr char kColonEscape = ';';

struct EscapeUnit {
    char plain; // the byte as it appears in the text
    char code;  // the byte that follows kColonEscape in the encoding
};

inline constexpr std::array<EscapeUnit, 2> kColonEscapes{{{':', ','}, {';', ';'}}};

// The unit that escapes a plain byte, or null when the byte stands for itself.
constexpr const EscapeUnit *FindEscapeOf(char plain)
{
    for (const EscapeUnit &unit : kColonEscapes) {
        if (unit.plain == plain) {
            return &unit;
        }
    }
    return nullptr;
}

// The unit whose code follows an escape byte, or null for an invalid escape.
constexpr const EscapeUnit *FindEscapeByCode(char code)
{
    for (const EscapeUnit &unit : kColonEscapes) {
        if (unit.code == code) {
            return &unit;
        }
    }
    return nullptr;
}

} // namespace velkc
