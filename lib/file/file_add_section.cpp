// VELKCFileAddSection: append a section unless one of that name exists.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

// The section goes after the last line; a missing file is created holding
// it. The file is rewritten like every other change, so that a power loss
// never keeps part of the section.
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
    if (velkc::Status status = rw.StartOrCreate()) {
        return VELKC_FAIL(status);
    }
    bool found = false;
    bool terminated = false; // some line was read, and the last ends in "\n"
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) {
        found = found || velkc::IsHeaderOf(line.view(), szSection);
        terminated = line.view().ends_with('\n');
        return found ? velkc::kOk : rw.out().Write(line.view());
    });
    if (status == velkc::kOk && found) {
        return 0;
    }
    // Even an empty file gets the "\n": the section then follows a blank line.
    if (status == velkc::kOk && !terminated) {
        status = rw.out().Write("\n");
    }
    if (status == velkc::kOk) {
        status = velkc::WriteSection(rw.out(), szSection, pHash, szFormat);
    }
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
