// VELKCFileAddLine: insert a line before or after the line matching a
// pattern, as the first line, or at the end of the file.
#include "rewrite.hpp"

namespace {

// Without a pattern and with MATCH_FLAG_AFTER the line is appended in place.
velkc::Status AppendInPlace(velkc::Rewrite &rw, bool unterminated, const char *szLine)
{
    const velkc::Output out(rw.target().stream());
    if (std::fseek(out.stream(), 0, SEEK_END) != 0) {
        return ERR_SEEK_FAILED;
    }
    if (unterminated) {
        if (velkc::Status status = out.Write("\n")) {
            return status;
        }
    }
    if (velkc::Status status = out.Line(szLine)) {
        return status;
    }
    return velkc::Sync(out);
}

// Copies the target with szLine before, or after, its line number match.
// A matched last line without "\n" gets one before the new line.
velkc::Status CopyInserting(velkc::Rewrite &rw, long match, const char *szLine, bool after)
{
    const velkc::Output &out = rw.out();
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

} // namespace

extern "C" int VELKCFileAddLine(const char *szFile, const char *szPattern, const char *szLine, int flags) noexcept
{
    if (szFile == nullptr || szLine == nullptr || flags < 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    // Once closed for the rename, the temporary file is left behind if the
    // rename fails.
    velkc::Rewrite rw(szFile, {.readError = ERR_READ_FAILED, .keepClosedTemp = true});
    bool created = false;
    if (velkc::Status status =
            rw.OpenOrCreate("r+", [&](const velkc::Output &out) { return out.Line(szLine); }, created)) {
        return VELKC_FAIL(status);
    }
    if (created) {
        return 1;
    }
    bool unterminated = false;
    if (velkc::Status status = rw.StatTarget()) {
        return VELKC_FAIL(status);
    }
    if (velkc::Status status = rw.ProbeLastByte(unterminated)) {
        return VELKC_FAIL(status);
    }
    const bool after = flags & MATCH_FLAG_AFTER;
    if (szPattern == nullptr && after) {
        if (velkc::Status status = AppendInPlace(rw, unterminated, szLine)) {
            return VELKC_FAIL(status);
        }
        return 1;
    }
    long match = -1;
    if (szPattern != nullptr) {
        if (velkc::Status status = rw.FindLine(szPattern, flags, match)) {
            return VELKC_FAIL(status);
        }
        if (match < 0) {
            VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
            return 0;
        }
    }
    if (velkc::Status status = rw.CreateTemp()) {
        return VELKC_FAIL(status);
    }
    if (szPattern == nullptr) { // the new line becomes the first
        if (velkc::Status status = rw.out().Line(szLine)) {
            return VELKC_FAIL(status);
        }
    }
    velkc::Status status = CopyInserting(rw, match, szLine, after);
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
