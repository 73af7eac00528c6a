// Finding one key of one section in a file read line by line: what the
// section editors need to know to change that key and nothing else.
#pragma once

#include "pair_line.hpp"

#include <string_view>

namespace velkc {

// The lines of the section an edit addresses, fed every line of a file in
// order: the first section of a name, from its header up to the next line
// that starts with "[" (as the section readers read it), or, for no name,
// the lines before the first such line.
class SectionTracker {
public:
    explicit SectionTracker(const char *section) noexcept
        : section_(section), inside_(section == nullptr), found_(section == nullptr)
    {}

    // True when line belongs to the section, its header included.
    bool Feed(std::string_view line) noexcept;
    // The section exists; the lines before the first section always do.
    bool found() const noexcept { return found_; }
    // The section has been passed.
    bool passed() const noexcept { return found_ && !inside_; }

private:
    const char *section_;
    bool inside_;
    bool found_;
};

enum class LineRole { kOther, kKey, kContinuation };

// The lines of one section, fed in order with their numbers in the file:
// where a key stands and where a new pair of the section goes.
class KeyScan {
public:
    explicit KeyScan(std::string_view key) noexcept : key_(key) {}

    // What the line is to the key: one of its lines, the continuation of
    // one (a line that is no pair, after a line ending in a backslash), or
    // another line.
    LineRole Feed(long index, std::string_view line) noexcept;

    // The last line of the key (the one the readers take), -1 for none.
    long keyLine() const noexcept { return keyLine_; }
    long keyLines() const noexcept { return keyLines_; }
    // The line after which a new pair goes: the section's last pair and its
    // continuation lines; in a section without pairs, the header and the
    // lines right below it up to a blank line. -1: before the section's
    // first line.
    long insertAfter() const noexcept { return lastPairEnd_ >= 0 ? lastPairEnd_ : firstRunEnd_; }
    // The style of the section's last pair; unknown when it has none.
    const PairStyle &style() const noexcept { return style_; }

private:
    std::string_view key_;
    long keyLine_ = -1;
    long keyLines_ = 0;
    long lastPairEnd_ = -1;
    long firstRunEnd_ = -1;
    bool firstRunOpen_ = true;
    bool continues_ = false;                   // the previous line goes on on this one
    LineRole continuation_ = LineRole::kOther; // the role such a line gets
    PairStyle style_;
};

// The style of the pairs around a section, for a section without pairs of
// its own: the last pair before it, else the first one after it.
class NearbyStyle {
public:
    void Feed(std::string_view line, bool afterSection) noexcept;
    const PairStyle &style() const noexcept { return style_; }

private:
    PairStyle style_;
};

// The style of a new pair of a section: the section's own (own), else that
// of the pairs around it (nearby), but never indented before the first
// section, where pairs stand outside any.
PairStyle StyleOfNewPair(const char *section, const PairStyle &own, const PairStyle &nearby) noexcept;

// How a file ends, for what is added after its last line. Fed every line
// in order.
struct FileEnd {
    long lines = 0;
    bool unterminated = false; // the last line has no line ending
    bool danglingCr = false;   // ... and ends in a "\r", a CR LF cut short
    bool blank = false;        // the last line is blank
    bool crlf = false;         // the last line ending in the file is "\r\n"

    void Feed(std::string_view line) noexcept;
    std::string_view eol() const noexcept { return crlf ? "\r\n" : "\n"; }
};

// Writes a new pair line in style (a line ending of the file's, eol, where
// the style knows none) after the line after ("" before the first line).
// After the file's unterminated last line it goes on a line of its own and
// becomes the unterminated last line, with the "\r" that line dangled, so
// that removing it again gives the file back.
Status WriteNewPair(Output &out, PairStyle style, std::string_view eol, std::string_view key, std::string_view value,
                    std::string_view after);

// The bytes to drop from the end of line when it becomes the file's last
// one in place of an unterminated last line: its line ending, but the "\r"
// of it that the old last line dangled (see FileEnd).
std::size_t EndingToDrop(std::string_view line, const FileEnd &old) noexcept;

// Writes a new section at the end of a file that ends as end says: after a
// blank line, its header, then the pair of key and value when key is given.
Status WriteNewSection(Output &out, PairStyle style, const FileEnd &end, std::string_view section, const char *key,
                       const char *value);

// What one pass over a whole file tells about one key of one section. Fed
// every line in order.
class KeySurvey {
public:
    KeySurvey(const char *section, std::string_view key) noexcept : section_(section), tracker_(section), scan_(key) {}

    // True when the line is one of the key's in the section, or the
    // continuation of one: a second survey tells a writer which lines to
    // drop.
    bool Feed(std::string_view line) noexcept;

    bool sectionFound() const noexcept { return tracker_.found(); }
    const KeyScan &scan() const noexcept { return scan_; }
    // The style for a new pair of the section.
    PairStyle style() const noexcept { return StyleOfNewPair(section_, scan_.style(), nearby_.style()); }
    const FileEnd &end() const noexcept { return end_; }
    // The last line that is not the key's: the file's last once the key's
    // lines are dropped.
    long lastKept() const noexcept { return lastKept_; }

private:
    const char *section_;
    SectionTracker tracker_;
    KeyScan scan_;
    NearbyStyle nearby_;
    FileEnd end_;
    long lastKept_ = -1;
};

} // namespace velkc
