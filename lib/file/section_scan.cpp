// Finding a key of a section.
#include "section_scan.hpp"

#include "line_model.hpp"

namespace velkc {

bool SectionTracker::Feed(std::string_view line) noexcept
{
    if (!StartsSection(line)) {
        return inside_;
    }
    if (!found_ && IsHeaderOf(line, section_)) {
        found_ = inside_ = true;
        return true;
    }
    inside_ = false;
    return false;
}

LineRole KeyScan::Feed(long index, std::string_view line) noexcept
{
    if (firstRunOpen_) {
        firstRunOpen_ = !IsBlankLine(line);
        if (firstRunOpen_) {
            firstRunEnd_ = index;
        }
    }
    // A line after one that ends in a backslash continues it, unless the
    // readers take it for a pair of its own.
    const std::optional<PairLine> pair = SplitPair(line);
    if (continues_ && !pair) {
        continues_ = ContinuesOnNextLine(line);
        lastPairEnd_ = index;
        return continuation_;
    }
    continues_ = false;
    if (!pair) {
        return LineRole::kOther;
    }
    lastPairEnd_ = index;
    style_ = PairStyle(line);
    continues_ = ContinuesOnNextLine(line);
    if (pair->key != key_) {
        continuation_ = LineRole::kOther;
        return LineRole::kOther;
    }
    continuation_ = LineRole::kContinuation;
    keyLine_ = index;
    ++keyLines_;
    return LineRole::kKey;
}

void NearbyStyle::Feed(std::string_view line, bool afterSection) noexcept
{
    if (afterSection && style_.known()) {
        return;
    }
    if (SplitPair(line)) {
        style_ = PairStyle(line);
    }
}

PairStyle StyleOfNewPair(const char *section, const PairStyle &own, const PairStyle &nearby) noexcept
{
    if (own.known()) {
        return own;
    }
    PairStyle style = nearby;
    if (section == nullptr) {
        style.Unindent();
    }
    return style;
}

void FileEnd::Feed(std::string_view line) noexcept
{
    ++lines;
    unterminated = !line.ends_with('\n');
    danglingCr = unterminated && line.ends_with('\r');
    blank = IsBlankLine(line);
    if (!unterminated) {
        crlf = line.ends_with("\r\n");
    }
}

Status WriteNewPair(Output &out, PairStyle style, std::string_view eol, std::string_view key, std::string_view value,
                    std::string_view after)
{
    if (!style.known()) {
        style.UseEnding(eol);
    }
    FileEnd end;
    end.Feed(after.empty() ? "\n" : after);
    if (!end.unterminated) {
        return style.Write(out, key, value);
    }
    // A dangling "\r" gets its "\n"; the pair takes its place at the end.
    Status status = out.Write(end.danglingCr ? "\n" : style.eol());
    if (status == kOk) {
        status = style.Write(out, key, value, false);
    }
    return status == kOk && end.danglingCr ? out.Write("\r") : status;
}

std::size_t EndingToDrop(std::string_view line, const FileEnd &old) noexcept
{
    if (!line.ends_with('\n')) {
        return 0;
    }
    return old.danglingCr && line.ends_with("\r\n") ? 1 : LineEnding(line).size();
}

Status WriteNewSection(Output &out, PairStyle style, const FileEnd &end, std::string_view section, const char *key,
                       const char *value)
{
    style.UseEnding(end.eol());
    const std::string_view eol = style.eol();
    const std::string_view parts[] = {
        end.lines > 0 && end.unterminated ? eol : "", end.lines > 0 && !end.blank ? eol : "", "[", section, "]", eol,
    };
    for (const std::string_view part : parts) {
        if (Status status = out.Write(part)) {
            return status;
        }
    }
    return key != nullptr ? style.Write(out, key, value) : kOk;
}

bool KeySurvey::Feed(std::string_view line) noexcept
{
    const long index = end_.lines;
    end_.Feed(line);
    bool keys = false;
    if (tracker_.Feed(line)) {
        keys = scan_.Feed(index, line) != LineRole::kOther;
    } else {
        nearby_.Feed(line, tracker_.passed());
    }
    if (!keys) {
        lastKept_ = index;
    }
    return keys;
}

} // namespace velkc
