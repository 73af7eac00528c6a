// VELKCFileAddSection: append a section unless one of that name exists.
#include "line_model.hpp"
#include "report.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

namespace {

// Reads the whole file looking for the header of szSection. Sets
// terminated when the last line read ends in "\n" (false for an empty file).
velkc::Status FindSection(velkc::LineReader &reader, const char *szSection, bool &found, bool &terminated)
{
    found = false;
    terminated = false;
    while (!found && reader.next()) {
        found = velkc::IsHeaderOf(reader.view(), szSection);
        terminated = !reader.lastLineUnterminated();
    }
    return reader.error();
}

} // namespace

// The section is appended in place, in one write; a missing file is created
// holding it.
extern "C" int VELKCFileAddSection(const char *szFile, const char *szSection, const SzHash *pHash,
                                   const char *szFormat) noexcept
{
    // Refused whether or not the section exists, so that bad input never
    // depends on the file's content.
    if (szFile == nullptr || szSection == nullptr || pHash == nullptr || !velkc::SafeSection(szSection, pHash)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    velkc::Rewrite::Target target;
    if (velkc::Status status = rw.Open(target, true)) {
        return VELKC_FAIL(status);
    }
    bool found = false;
    bool terminated = false;
    if (target == velkc::Rewrite::Target::kOpened) {
        if (velkc::Status status = FindSection(rw.target(), szSection, found, terminated)) {
            return VELKC_FAIL(status);
        }
        if (found) {
            return 0;
        }
    }
    // Even an empty file gets the "\n": the section then follows a blank line.
    velkc::Output section;
    velkc::Status status = section.Write(terminated ? "" : "\n");
    if (status == velkc::kOk) {
        status = velkc::WriteSection(section, szSection, pHash, szFormat);
    }
    if (status == velkc::kOk) {
        status =
            target == velkc::Rewrite::Target::kOpened ? rw.Append(section.contents()) : rw.Create(section.contents());
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    return 1;
}
