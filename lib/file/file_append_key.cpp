// VELKCFileAppendKey: append a key/value line unless the key is present.
#include "line_model.hpp"
#include "report.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

#include <sys/stat.h>

namespace {

bool IsDirectory(const char *path)
{
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

// Reads the whole file looking for a key line of szKey.
velkc::Status FindKey(velkc::LineReader &reader, const char *szKey, bool &found)
{
    found = false;
    while (!found && reader.next()) {
        found = velkc::IsKeyLineOf(reader.view(), szKey);
    }
    return reader.error();
}

} // namespace

// The pair is written at the end of the file in place, without looking at
// the last line's newline.
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
    velkc::Rewrite::Target target;
    if (velkc::Status status = rw.Open(target, true)) {
        return VELKC_FAIL(status);
    }
    if (target == velkc::Rewrite::Target::kMissing) {
        if (velkc::Status status = rw.Create(pair.contents())) {
            return VELKC_FAIL(status);
        }
        return 1;
    }
    bool found = false;
    if (velkc::Status status = FindKey(rw.target(), szKey, found)) {
        return VELKC_FAIL(status);
    }
    if (found) {
        VELKC_SET_ERR(ERR_KEY_EXISTS);
        return 0;
    }
    if (velkc::Status status = rw.Append(pair.contents())) {
        return VELKC_FAIL(status);
    }
    return 1;
}
