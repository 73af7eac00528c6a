// VELKCFileAppendKey: append a key/value line unless the key is present.
#include "rewrite.hpp"

#include <sys/stat.h>

namespace {

constexpr const char *kDefaultFormat = "%s=%s\n";

bool IsDirectory(const char *path)
{
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

// Reads the whole file looking for a key line of szKey.
velkc::Status FindKey(velkc::LineReader &reader, const char *szKey, bool &found)
{
    velkc::LineCopy copy;
    found = false;
    while (!found && reader.next()) {
        char *line = copy.assign(reader.view());
        if (line == nullptr) {
            return ERR_OUT_OF_MEMORY;
        }
        found = VELKCILineKeyMatch(line, szKey);
    }
    return reader.failed() ? ERR_READ_FAILED : velkc::kOk;
}

} // namespace

// The pair is written at the end of the file in place, without a temporary
// file and without looking at the last line's newline.
extern "C" int VELKCFileAppendKey(const char *szFile, const char *szKey, const char *szValue,
                                  const char *szFormat) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr || IsDirectory(szFile)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : kDefaultFormat;
    const auto writePair = [&](const velkc::Output &out) { return out.Pair(format, szKey, szValue); };
    velkc::LineReader reader;
    bool created = false;
    if (velkc::Status status = velkc::OpenOrCreate(reader, szFile, "r+", writePair, created)) {
        return VELKC_FAIL(status);
    }
    if (created) {
        return 1;
    }
    bool found = false;
    if (velkc::Status status = FindKey(reader, szKey, found)) {
        return VELKC_FAIL(status);
    }
    if (found) {
        VELKC_SET_ERR(ERR_KEY_EXISTS);
        return 0;
    }
    const velkc::Output out(reader.stream());
    if (std::fseek(out.stream(), 0, SEEK_END) != 0) {
        VELKC_SET_ERR(ERR_SEEK_FAILED);
        return -1;
    }
    velkc::Status status = writePair(out);
    if (status == velkc::kOk) {
        status = velkc::Sync(out);
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    return 1;
}
