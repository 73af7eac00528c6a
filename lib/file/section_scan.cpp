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

void FileEnd::Feed(std::string_view line) noexcept
{
    any = true;
    unterminated = !line.ends_with('\n');
    danglingCr = unterminated && line.ends_with('\r');
    blank = IsBlankLine(line);
    if (!unterminated) {
        crlf = line.ends_with("\r\n");
    }
}

void FileEnd::FeedRun(std::string_view run) noexcept
{
    if (!run.empty()) {
        const std::size_t before = run.size() >= 2 ? run.rfind('\n', run.size() - 2) : std::string_view::npos;
        Feed(run.substr(before == std::string_view::npos ? 0 : before + 1));
    }
}

void KeyScan::Anchor(Position end, std::string_view line) noexcept
{
    insertAt_ = end;
    anchorEnd_ = FileEnd{};
    anchorEnd_.Feed(line);
}

LineRole KeyScan::Feed(Position begin, Position end, std::string_view line) noexcept
{
    if (firstRunOpen_) {
        firstRunOpen_ = !IsBlankLine(line);
        if (firstRunOpen_ && !sawPair_) {
            Anchor(end, line);
        }
    }
    // A line after one that ends in a backslash continues it, unless the
    // readers take it for a pair of its own.
    const std::optional<PairLine> pair = SplitPair(line);
    if (continues_ && !pair) {
        continues_ = ContinuesOnNextLine(line);
        Anchor(end, line);
        return continuation_;
    }
    continues_ = false;
    if (!pair) {
        return LineRole::kOther;
    }
    sawPair_ = true;
    Anchor(end, line);
    style_ = PairStyle(line);
    continues_ = ContinuesOnNextLine(line);
    if (pair->key != key_) {
        continuation_ = LineRole::kOther;
        return LineRole::kOther;
    }
    continuation_ = LineRole::kContinuation;
    keyBegin_ = begin;
    keyEnd_ = end;
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

Status WriteNewPair(Output &out, PairStyle style, std::string_view eol, std::string_view key, std::string_view value,
                    const FileEnd &after)
{
    if (!style.known()) {
        style.UseEnding(eol);
    }
    if (!after.unterminated) {
        return style.Write(out, key, value);
    }
    // A dangling "\r" gets its "\n"; the pair takes its place at the end.
    Status status = out.Write(after.danglingCr ? "\n" : style.eol());
    if (status == kOk) {
        status = style.Write(out, key, value, false);
    }
    return status == kOk && after.danglingCr ? out.Write("\r") : status;
}

Status WriteNewSection(Output &out, PairStyle style, const FileEnd &end, std::string_view section, const char *key,
                       const char *value)
{
    style.UseEnding(end.eol());
    const std::string_view eol = style.eol();
    const std::string_view parts[] = {
        end.any && end.unterminated ? eol : "", end.any && !end.blank ? eol : "", "[", section, "]", eol,
    };
    for (const std::string_view part : parts) {
        if (Status status = out.Write(part)) {
            return status;
        }
    }
    return key != nullptr ? style.Write(out, key, value) : kOk;
}

std::size_t EndingToDrop(std::string_view line, const FileEnd &old) noexcept
{
    if (!line.ends_with('\n')) {
        return 0;
    }
    return old.danglingCr && line.ends_with("\r\n") ? 1 : LineEnding(line).size();
}

Status FindKey(LineReader &reader, const char *section, KeyPlace &place)
{
    SectionTracker tracker(section);
    bool entered = false;
    for (;;) {
        // Outside the section only a line that starts a section matters.
        if (!tracker.inside()) {
            if (Status status = reader.skipLinesNotStartingWith('[', [&](std::string_view run) {
                    place.end.FeedRun(run);
                    return kOk;
                })) {
                return status;
            }
        }
        if (!reader.next()) {
            break;
        }
        const std::string_view line = reader.view();
        const Position begin = reader.lineOffset();
        const Position end = begin + line.size();
        place.end.Feed(line);
        if (tracker.Feed(line)) {
            place.sectionBegin = entered ? place.sectionBegin : begin;
            entered = true;
            place.sectionEnd = end;
            if (place.scan.Feed(begin, end, line) == LineRole::kOther) {
                place.lastKeptEnd = end;
            }
        }
    }
    place.sectionFound = tracker.found();
    place.size = reader.position();
    return reader.error();
}

Status FindNearbyStyle(LineReader &reader, const char *section, NearbyStyle &nearby)
{
    if (Status status = reader.rewind()) {
        return status;
    }
    SectionTracker tracker(section);
    while (reader.next()) {
        if (!tracker.Feed(reader.view())) {
            nearby.Feed(reader.view(), tracker.passed());
        }
    }
    return reader.error();
}

} // namespace velkc
