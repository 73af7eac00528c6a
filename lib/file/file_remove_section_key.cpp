// VELKCFileRemoveSectionKey: remove one key of one section, changing
// nothing else in the file.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_scan.hpp"

extern "C" int VELKCFileRemoveSectionKey(const char *szFile, const char *szSection, const char *szKey) noexcept
{
    if (szFile == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    velkc::KeySurvey survey(szSection, szKey);
    if (velkc::Status status = rw.ReadAhead([&](std::string_view line) { survey.Feed(line); })) {
        return VELKC_FAIL(status);
    }
    const long removed = survey.scan().keyLines();
    if (removed == 0) {
        VELKC_SET_ERR(survey.sectionFound() ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND);
        return 0;
    }
    // The same survey again tells which lines go. Once the file's last line
    // goes, the one that becomes last loses its line ending if that one had
    // none, so that the file ends as it did.
    velkc::KeySurvey again(szSection, szKey);
    const bool trimLastKept = survey.end().unterminated && survey.lastKept() < survey.end().lines - 1;
    long index = 0;
    const velkc::Status status = rw.CopyLines([&](const velkc::LineReader &reader) {
        std::string_view line = reader.view();
        const long at = index++;
        if (again.Feed(line)) {
            return velkc::kOk;
        }
        if (trimLastKept && at == survey.lastKept()) {
            line.remove_suffix(velkc::EndingToDrop(line, survey.end()));
        }
        return rw.out().Write(line);
    });
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return static_cast<int>(removed);
}
