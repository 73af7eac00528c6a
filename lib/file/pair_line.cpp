// Pair lines as the section readers and editors see them.
#include "pair_line.hpp"

#include "internal/trim.hpp"
#include "line_model.hpp"

#include <algorithm>

namespace velkc {

namespace {

// What stands between a key, "=" and a value.
constexpr std::string_view kSpacing = " \t";

constexpr bool IsQuoted(std::string_view text) noexcept
{
    return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

// value, inside quotes where the readers would otherwise trim it, or where
// a backslash at its end would run its line on into the next.
Status WriteValue(Output &out, std::string_view value)
{
    if (ReadsBackWhole(value) && !value.ends_with('\\')) {
        return out.Write(value);
    }
    Status status = out.Write("\"");
    if (status == kOk) {
        status = out.Write(value);
    }
    return status == kOk ? out.Write("\"") : status;
}

// The length of the run of bytes of set at the start of text.
std::size_t Run(std::string_view text, std::string_view set) noexcept
{
    return std::min(text.find_first_not_of(set), text.size());
}

} // namespace

bool ReadsBackWhole(std::string_view text) noexcept { return TrimSpace(text).size() == text.size(); }

bool IsSectionKey(const char *key) noexcept { return IsSafeKey(key) && ReadsBackWhole(key); }

std::optional<PairLine> SplitPair(std::string_view line) noexcept
{
    const std::size_t equals = line.find('=');
    if (line.empty() || IsCommentLine(line.data()) || StartsSection(line) || equals == std::string_view::npos) {
        return std::nullopt;
    }
    PairLine pair{TrimSpace(line.substr(0, equals)), 0, 0, false};
    if (pair.key.empty()) {
        return std::nullopt;
    }
    // Beyond the last byte that is not a blank, or, for an empty value,
    // after the spacing that follows "=".
    const std::size_t content = line.find_last_not_of(kWhitespace) + 1;
    const std::size_t afterEquals = equals + 1;
    if (content <= afterEquals) {
        pair.valueBegin = pair.valueEnd = afterEquals + Run(line.substr(afterEquals), kSpacing);
        return pair;
    }
    pair.valueBegin = afterEquals + Run(line.substr(afterEquals), kWhitespace);
    pair.valueEnd = content;
    if (IsQuoted(line.substr(pair.valueBegin, pair.valueEnd - pair.valueBegin))) {
        pair.quoted = true;
        ++pair.valueBegin;
        --pair.valueEnd;
    }
    return pair;
}

bool ContinuesOnNextLine(std::string_view line) noexcept
{
    const std::size_t last = line.find_last_not_of("\r\n");
    return last != std::string_view::npos && line[last] == '\\';
}

std::string_view LineEnding(std::string_view line) noexcept { return line.ends_with("\r\n") ? "\r\n" : "\n"; }

void PairStyle::Blanks::Take(std::string_view text) noexcept
{
    size = text.size() <= sizeof bytes ? text.size() : 0;
    text.copy(bytes, size);
}

PairStyle::PairStyle(std::string_view line) noexcept : crlf_(line.ends_with("\r\n")), known_(true)
{
    const std::size_t equals = line.find('=');
    indent_.Take(line.substr(0, Run(line, kSpacing)));
    const std::size_t keyEnd = line.substr(0, equals).find_last_not_of(kSpacing) + 1;
    beforeEquals_.Take(line.substr(keyEnd, equals - keyEnd));
    afterEquals_.Take(line.substr(equals + 1, Run(line.substr(equals + 1), kSpacing)));
}

Status PairStyle::Write(Output &out, std::string_view key, std::string_view value, bool terminated) const
{
    for (const std::string_view part :
         {indent_.view(), key, beforeEquals_.view(), std::string_view("="), afterEquals_.view()}) {
        if (Status status = out.Write(part)) {
            return status;
        }
    }
    if (Status status = WriteValue(out, value)) {
        return status;
    }
    return terminated ? out.Write(eol()) : kOk;
}

Status WriteWithValue(Output &out, std::string_view line, const PairLine &pair, std::string_view value)
{
    Status status = out.Write(line.substr(0, pair.valueBegin));
    if (status == kOk) {
        status = pair.quoted ? out.Write(value) : WriteValue(out, value);
    }
    return status == kOk ? out.Write(line.substr(pair.valueEnd)) : status;
}

} // namespace velkc
