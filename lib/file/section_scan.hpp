// Finding one key of one section in a file: what the section editors need
// to know to change that key and nothing else. The scans work on lines at
// positions: line numbers in a file held in memory, byte offsets in a file
// streamed.
#pragma once

#include "internal/status.hpp"
#include "line_reader.hpp"
#include "pair_line.hpp"

#include <cstdint>
#include <string_view>

namespace velkc {

// A line's place: where it starts and where the next one starts.
using Position = std::uint64_t;

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
    // The last line fed belongs to the section.
    bool inside() const noexcept { return inside_; }
    // The section has been passed.
    bool passed() const noexcept { return found_ && !inside_; }

private:
    const char *section_;
    bool inside_;
    bool found_;
};

// How a file ends, or how a line ends it: fed its last lines in order (or
// just the line).
struct FileEnd {
    bool any = false;          // there is a line
    bool unterminated = false; // the last line has no line ending
    bool danglingCr = false;   // ... and ends in a "\r", a CR LF cut short
    bool blank = false;        // the last line is blank
    bool crlf = false;         // the last line ending seen is "\r\n"

    void Feed(std::string_view line) noexcept;
    // The last line of a run of whole lines.
    void FeedRun(std::string_view run) noexcept;
    std::string_view eol() const noexcept { return crlf ? "\r\n" : "\n"; }
};

enum class LineRole { kOther, kKey, kContinuation };

// The lines of one section, fed in order with their positions: where a key
// stands and where a new pair of the section goes.
class KeyScan {
public:
    explicit KeyScan(std::string_view key) noexcept : key_(key) {}

    // What the line at [begin, end) is to the key: one of its lines, the
    // continuation of one (a line that is no pair, after a line ending in a
    // backslash), or another line.
    LineRole Feed(Position begin, Position end, std::string_view line) noexcept;

    // The key's lines; the last (the one the readers take) at [keyBegin,
    // keyEnd).
    long keyLines() const noexcept { return keyLines_; }
    Position keyBegin() const noexcept { return keyBegin_; }
    Position keyEnd() const noexcept { return keyEnd_; }
    // Where a new pair goes, when hasAnchor: after the anchor line, the
    // section's last pair and its continuation lines, or, in a section
    // without pairs, the header and the lines right below it up to a blank
    // line. Without an anchor, before the section's first line.
    bool hasAnchor() const noexcept { return anchorEnd_.any; }
    Position insertAt() const noexcept { return insertAt_; }
    // How the anchor line ends (it may be the file's last line).
    const FileEnd &anchorEnd() const noexcept { return anchorEnd_; }
    // The style of the section's last pair; unknown when it has none.
    const PairStyle &style() const noexcept { return style_; }

private:
    void Anchor(Position end, std::string_view line) noexcept;

    std::string_view key_;
    long keyLines_ = 0;
    Position keyBegin_ = 0;
    Position keyEnd_ = 0;
    Position insertAt_ = 0;
    FileEnd anchorEnd_;
    bool sawPair_ = false;
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

// Writes a new pair line in style (a line ending of the file's, eol, where
// the style knows none) after a line that ends as after says (nothing: the
// pair goes before the first line). After the file's unterminated last line
// it goes on a line of its own and becomes the unterminated last line, with
// the "\r" that line dangled, so that removing it again gives the file back.
Status WriteNewPair(Output &out, PairStyle style, std::string_view eol, std::string_view key, std::string_view value,
                    const FileEnd &after);

// Writes a new section at the end of a file that ends as end says: after a
// blank line, its header, then the pair of key and value when key is given.
Status WriteNewSection(Output &out, PairStyle style, const FileEnd &end, std::string_view section, const char *key,
                       const char *value);

// The bytes to drop from the end of line when it becomes the file's last
// one in place of an unterminated last line: its line ending, but the "\r"
// of it that the old last line dangled (see FileEnd).
std::size_t EndingToDrop(std::string_view line, const FileEnd &old) noexcept;

// Where a key of a section stands in a file streamed by a reader, found in
// one pass that reads the section's lines one by one and passes over the
// others in runs, by their first bytes.
struct KeyPlace {
    explicit KeyPlace(std::string_view key) noexcept : scan(key) {}

    KeyScan scan;
    bool sectionFound = false;
    Position sectionBegin = 0; // the section's lines, header included
    Position sectionEnd = 0;
    Position size = 0;        // the file's
    Position lastKeptEnd = 0; // the end of the section's last line that is not the key's
    FileEnd end;              // how the file ends
};

Status FindKey(LineReader &reader, const char *section, KeyPlace &place);

// The style around the section, from a second pass (the reader is rewound).
Status FindNearbyStyle(LineReader &reader, const char *section, NearbyStyle &nearby);

} // namespace velkc
