// VELKCFileSetLine: replace or delete the line matching a pattern.
#include "internal/report.hpp"
#include "rewrite.hpp"

namespace {

// Replaces the line at index by szLine, or drops it when szLine is null.
velkc::Status Replace(velkc::Rewrite &rw, long index, const char *szLine)
{
    if (velkc::Status status = rw.Begin()) {
        return status;
    }
    return rw.CommitAfter(rw.CopyReplacing(
        index, [&](const velkc::LineReader &) { return szLine != nullptr ? rw.out().Line(szLine) : velkc::kOk; }));
}

} // namespace

extern "C" int VELKCFileSetLine(const char *szFile, const char *szPattern, const char *szLine, int flags) noexcept
{
    // Bad flags are the matcher's to refuse: no line matches then.
    if (szFile == nullptr || szPattern == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    velkc::Rewrite::Target target;
    if (velkc::Status status = rw.Open(target)) {
        return VELKC_FAIL(status);
    }
    if (target == velkc::Rewrite::Target::kMissing) {
        if (velkc::Status status = szLine != nullptr ? rw.CreateLine(szLine) : rw.Create("")) {
            return VELKC_FAIL(status);
        }
        return 1;
    }
    long match = -1;
    if (velkc::Status status = rw.FindLine(szPattern, flags, match)) {
        return VELKC_FAIL(status);
    }
    if (match < 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    if (velkc::Status status = Replace(rw, match, szLine)) {
        return VELKC_FAIL(status);
    }
    return 1;
}
