// VELKCFileAddLineByKey: insert a line before or after the first line whose
// tokens match a pattern list, or append it.
#include "internal/report.hpp"
#include "rewrite.hpp"

namespace {

bool IsEmpty(const SzList *pPattern) { return pPattern == nullptr || pPattern->nItem == 0; }

// Appends the line as it stands: no newline after it, and no look at the
// last line's newline before it. A missing file is created.
velkc::Status AppendLine(const char *szFile, const char *szLine)
{
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.StartOrCreate()) {
        return status;
    }
    velkc::Status status = rw.CopyAll();
    if (status == velkc::kOk) {
        status = rw.out().Write(szLine);
    }
    return rw.CommitAfter(status);
}

} // namespace

extern "C" int VELKCFileAddLineByKey(const char *szFile, const SzList *pPattern, const char *szLine, int flags,
                                     const char *szSeps) noexcept
{
    if (szFile == nullptr || szSeps == nullptr || (flags & ~MATCH_FLAG_AFTER) != 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (szLine == nullptr) {
        return 1; // nothing to add
    }
    const bool after = flags & MATCH_FLAG_AFTER;
    if (IsEmpty(pPattern) && after) {
        if (velkc::Status status = AppendLine(szFile, szLine)) {
            return VELKC_FAIL(status);
        }
        return 0;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    velkc::Output &out = rw.out();
    bool inserted = false;
    velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        if (inserted) {
            return out.Write(line.view());
        }
        // An empty pattern matches every line, so the line goes first.
        const int match = VELKCFileMatch(line.data(), pPattern, szSeps);
        if (match < 0) {
            return velkc::kLeaveRecord;
        }
        if (match == 0) {
            return out.Write(line.view());
        }
        inserted = true;
        // After a last line without "\n" the new line follows on that line.
        if (after) {
            if (velkc::Status s = out.Write(line.view())) {
                return s;
            }
            return out.Terminated(szLine);
        }
        if (velkc::Status s = out.Terminated(szLine)) {
            return s;
        }
        return out.Write(line.view());
    });
    // Without a match the unchanged copy is committed all the same.
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    if (!inserted) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    return 1;
}
