// VELKCFileSetLineByKey: replace every line whose tokens match a pattern
// list.
#include "internal/report.hpp"
#include "rewrite.hpp"

extern "C" int VELKCFileSetLineByKey(const char *szFile, const SzList *pPattern, const char *szLine,
                                     const char *szSeps) noexcept
{
    if (szFile == nullptr || pPattern == nullptr || pPattern->nItem == 0 || szSeps == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    // A null or empty line deletes the matching lines.
    const std::string_view replacement = szLine != nullptr ? szLine : "";
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    int replaced = 0;
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        const int match = VELKCFileMatch(line.data(), pPattern, szSeps);
        if (match < 0) {
            return velkc::kLeaveRecord;
        }
        if (match == 0) {
            return rw.out().Write(line.view());
        }
        ++replaced;
        return replacement.empty() ? velkc::kOk : rw.out().Terminated(replacement);
    });
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (replaced == 0) {
        return 0; // nothing to change: the copy is discarded
    }
    if (velkc::Status commit = rw.Commit()) {
        return VELKC_FAIL(commit);
    }
    return replaced;
}
