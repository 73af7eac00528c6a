// VELKCFileLineComment: comment out, or back in, the lines holding a pattern.
#include "internal/report.hpp"
#include "rewrite.hpp"

#include <algorithm>

namespace {

// A line as it is written back: prefix, then text.
struct Toggled {
    std::string_view prefix;
    std::string_view text;
    bool changed;
};

// Leading blanks are skipped to find the "#" and to search the pattern.
Toggled Toggle(std::string_view line, std::string_view pattern, bool uncomment)
{
    const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
    const std::string_view text = line.substr(first); // empty for a line of blanks
    const bool commented = text.starts_with('#');
    if (commented != uncomment || text.find(pattern) == std::string_view::npos) {
        return {"", line, false};
    }
    if (uncomment) {
        return {"", text.substr(1), true}; // the blanks before the "#" go too
    }
    return {"#", line, true}; // the whole line, blanks included
}

} // namespace

extern "C" int VELKCFileLineComment(const char *szFile, const char *szPattern, int uncomment) noexcept
{
    if (szFile == nullptr || szPattern == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    bool changed = false;
    const velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        const Toggled toggled = Toggle(line.view(), szPattern, uncomment != 0);
        changed = changed || toggled.changed;
        if (velkc::Status s = rw.out().Write(toggled.prefix)) {
            return s;
        }
        return rw.out().Write(toggled.text);
    });
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (!changed) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND); // the copy is discarded
        return 0;
    }
    if (velkc::Status commit = rw.Commit()) {
        return VELKC_FAIL(commit);
    }
    return 1;
}
