// VELKCFileSetLine: replace or delete the line matching a pattern.
#include "rewrite.hpp"

extern "C" int VELKCFileSetLine(const char *szFile, const char *szPattern, const char *szLine, int flags) noexcept
{
    // Bad flags are the matcher's to refuse: no line matches then.
    if (szFile == nullptr || szPattern == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    bool created = false;
    const auto fill = [&](const velkc::Output &out) { return szLine ? out.Line(szLine) : velkc::kOk; };
    if (velkc::Status status = rw.OpenOrCreate("r", fill, created)) {
        return VELKC_FAIL(status);
    }
    if (created) {
        return 1;
    }
    if (velkc::Status status = rw.StatTarget()) {
        return VELKC_FAIL(status);
    }
    long match = -1;
    if (velkc::Status status = rw.FindLine(szPattern, flags, match)) {
        return VELKC_FAIL(status);
    }
    if (match < 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    if (velkc::Status status = rw.CreateTemp()) {
        return VELKC_FAIL(status);
    }
    velkc::Status status = rw.CopyReplacing(match, [&](const velkc::LineReader &) {
        return szLine ? rw.out().Line(szLine) : velkc::kOk; // a null line deletes it
    });
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
