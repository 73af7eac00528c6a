// VELKCFileGetLine: the first (or last) line that matches a pattern.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "line_reader.hpp"

#include <velkc/file.h>

#include <cstring>

// Flags as for VELKCILineMatch, plus MATCH_FLAG_LAST. Returns the line's size
// without its "\n" but with its NUL, 0 when no line matches, -1 on error.
extern "C" int VELKCFileGetLine(const char *szFile, const char *szPattern, char *szLine, int cbLine, int flags) noexcept
{
    if (szFile == nullptr || szPattern == nullptr || flags < 0 || szLine == nullptr || cbLine <= 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    std::size_t size = 0;
    while (reader.next()) {
        bool matched = false;
        if (velkc::Status status = velkc::MatchLine(reader.data(), szPattern, flags, matched)) {
            return VELKC_FAIL(status);
        }
        if (!matched) {
            continue;
        }
        std::memset(szLine, 0, static_cast<std::size_t>(cbLine));
        const std::size_t length = reader.size() - (reader.lastLineUnterminated() ? 0 : 1);
        size = length + 1;
        if (size <= static_cast<std::size_t>(cbLine)) {
            std::memcpy(szLine, reader.data(), length);
        }
        if (!(flags & MATCH_FLAG_LAST)) {
            break;
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    if (size == 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    if (size > static_cast<std::size_t>(cbLine)) {
        VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
        return -1;
    }
    return static_cast<int>(size);
}
