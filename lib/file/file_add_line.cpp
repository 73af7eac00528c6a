// VELKCFileAddLine: insert a line before or after the line matching a
// pattern, as the first line, or at the end of the file.
#include "internal/report.hpp"
#include "rewrite.hpp"

namespace {

// Copies the target with szLine before, or after, its line number match.
// A matched last line without "\n" gets one before the new line.
velkc::Status CopyInserting(velkc::Rewrite &rw, long match, const char *szLine, bool after)
{
    velkc::Output &out = rw.out();
    return rw.CopyReplacing(match, [&](const velkc::LineReader &line) -> velkc::Status {
        if (!after) {
            if (velkc::Status status = out.Line(szLine)) {
                return status;
            }
            return out.Write(line.view());
        }
        if (velkc::Status status = out.Terminated(line.view())) {
            return status;
        }
        return out.Line(szLine);
    });
}

// Without a pattern and with MATCH_FLAG_AFTER the line goes after the last,
// after a "\n" when the file does not end in one.
velkc::Status Append(velkc::Rewrite &rw, const char *szLine)
{
    if (velkc::Status status = rw.Begin()) {
        return status;
    }
    velkc::Status status = rw.CopyAll();
    if (status == velkc::kOk) {
        status = rw.SeparateFromLastLine();
    }
    if (status == velkc::kOk) {
        status = rw.out().Line(szLine);
    }
    return rw.CommitAfter(status);
}

velkc::Status Insert(velkc::Rewrite &rw, const char *szPattern, const char *szLine, int flags, bool &matched)
{
    long match = -1;
    if (szPattern != nullptr) {
        if (velkc::Status status = rw.FindLine(szPattern, flags, match)) {
            return status;
        }
        matched = match >= 0;
        if (!matched) {
            return velkc::kOk;
        }
    }
    if (velkc::Status status = rw.Begin()) {
        return status;
    }
    if (szPattern == nullptr) { // the new line becomes the first
        if (velkc::Status status = rw.out().Line(szLine)) {
            return status;
        }
    }
    return rw.CommitAfter(CopyInserting(rw, match, szLine, flags & MATCH_FLAG_AFTER));
}

} // namespace

extern "C" int VELKCFileAddLine(const char *szFile, const char *szPattern, const char *szLine, int flags) noexcept
{
    if (szFile == nullptr || szLine == nullptr || flags < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const bool append = szPattern == nullptr && (flags & MATCH_FLAG_AFTER);
    velkc::Rewrite rw(szFile);
    velkc::Rewrite::Target target;
    if (velkc::Status status = rw.Open(target)) {
        return VELKC_FAIL(status);
    }
    bool matched = true;
    velkc::Status status;
    if (target == velkc::Rewrite::Target::kMissing) {
        status = rw.CreateLine(szLine);
    } else if (append) {
        status = Append(rw, szLine);
    } else {
        status = Insert(rw, szPattern, szLine, flags, matched);
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (!matched) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    return 1;
}
