// VELKCFileAppendKey: append a key/value line unless the key is present.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

#include <sys/stat.h>

namespace {

bool IsDirectory(const char *path)
{
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

} // namespace

// The pair goes after the last line without a look at that line's newline.
// The file is rewritten like every other change, so that a power loss never
// keeps part of the pair.
extern "C" int VELKCFileAppendKey(const char *szFile, const char *szKey, const char *szValue,
                                  const char *szFormat) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr || IsDirectory(szFile) ||
        !velkc::IsSafeKey(szKey) || !velkc::IsSafeValue(szValue)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Output pair;
    if (velkc::Status status = pair.Pair(szFormat != nullptr ? szFormat : velkc::kDefaultPairFormat, szKey, szValue)) {
        return VELKC_FAIL(status);
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.StartOrCreate()) {
        return VELKC_FAIL(status);
    }
    bool found = false;
    velkc::Status status = rw.CopyLinesContaining(szKey, [&](const velkc::LineReader &line) {
        found = found || velkc::IsKeyLineOf(line.view(), szKey);
        return found ? velkc::kOk : rw.out().Write(line.view());
    });
    if (status == velkc::kOk && found) {
        VELKC_SET_ERR(ERR_KEY_EXISTS);
        return 0;
    }
    if (status == velkc::kOk) {
        status = rw.out().Write(pair.contents());
    }
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
