// VELKCFileReplaceSubStr: replace every occurrence of a text in every line.
#include "internal/report.hpp"
#include "rewrite.hpp"

#include <cstring>

namespace {

// Writes line with each occurrence of from replaced by to, left to right;
// the search resumes after the replaced text, so the new text is never
// searched again. Counts the replacements.
velkc::Status ReplaceAll(velkc::Output &out, std::string_view line, std::string_view from, std::string_view to,
                         int &count)
{
    for (std::size_t pos; (pos = line.find(from)) != std::string_view::npos;) {
        if (velkc::Status status = out.Write(line.substr(0, pos))) {
            return status;
        }
        if (velkc::Status status = out.Write(to)) {
            return status;
        }
        line.remove_prefix(pos + from.size());
        ++count;
    }
    return out.Write(line);
}

} // namespace

extern "C" int VELKCFileReplaceSubStr(const char *szFile, const char *szOld, const char *szNew) noexcept
{
    if (szFile == nullptr || szOld == nullptr || szNew == nullptr || szOld[0] == '\0') {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    int count = 0;
    const velkc::Status status = rw.CopyLines(
        [&](const velkc::LineReader &line) { return ReplaceAll(rw.out(), line.view(), szOld, szNew, count); });
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (count == 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND); // the copy is discarded
        return 0;
    }
    if (velkc::Status commit = rw.Commit()) {
        return VELKC_FAIL(commit);
    }
    return count;
}
