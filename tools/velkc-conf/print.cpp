// velkc-conf's output formats.
#include "print.hpp"

#include <cstdio>

namespace conf {

namespace {

// The length of the UTF-8 sequence at text's start, 0 when there is none.
std::size_t SequenceLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates and code points past U+10FFFF.
    const bool bad = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) >= 0xA0) ||
                     (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) >= 0x90);
    return bad ? 0 : length;
}

std::string Escaped(unsigned code)
{
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", code);
    return escape;
}

} // namespace

std::string JsonString(std::string_view text)
{
    std::string json = "\"";
    while (!text.empty()) {
        const auto c = static_cast<unsigned char>(text[0]);
        const std::size_t length = SequenceLength(text);
        if (c == '"' || c == '\\') {
            json += '\\';
            json += static_cast<char>(c);
        } else if (c == '\n') {
            json += "\\n";
        } else if (c == '\t') {
            json += "\\t";
        } else if (c < 0x20 || c == 0x7F || length == 0) {
            json += Escaped(c); // a control character, or a byte that is not UTF-8
        } else {
            json.append(text.substr(0, length));
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return json + '"';
}

std::string ShellWord(std::string_view text)
{
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + '\'';
}

std::string ShellName(std::string_view text)
{
    std::string name;
    for (const char c : text) {
        const bool kept = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        name += kept ? c : '_';
    }
    return name.empty() || (name[0] >= '0' && name[0] <= '9') ? '_' + name : name;
}

std::string AsWritten(std::string_view value)
{
    std::string text(value);
    const bool whole = static_cast<std::size_t>(VELKCStrTrimSpace(text.data(), nullptr)) == value.size();
    return whole ? std::string(value) : '"' + std::string(value) + '"';
}

void PrintList(std::ostream &out, Format format, const velkc::List &items)
{
    if (format == Format::kJson) {
        const char *separator = "";
        out << '[';
        for (const std::string_view item : items) {
            out << separator << JsonString(item);
            separator = ",";
        }
        out << "]\n";
        return;
    }
    for (const std::string_view item : items) {
        out << (format == Format::kShell ? ShellWord(item) : std::string(item)) << '\n';
    }
}

} // namespace conf
