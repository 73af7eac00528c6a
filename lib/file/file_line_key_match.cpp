// VELKCILineKeyMatch: is a line the line of a given key.
#include "internal.hpp"
#include "line_model.hpp"

#include <velkc/file.h>
#include <velkc/str.h>

#include <cstring>

// The line is cut in place at its first "=", so that it then holds the key as
// the file spells it; writers reuse that to write the key back unchanged.
extern "C" int VELKCILineKeyMatch(char *szLine, const char *szKey) noexcept
{
    if (szLine == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return 0;
    }
    if (velkc::IsCommentLine(szLine)) {
        return 0;
    }
    velkc::MallocPtr<char> key(static_cast<char *>(std::malloc(std::strlen(szLine) + 1)));
    if (!key) {
        return 0;
    }
    char *cursor = szLine;
    char *token = VELKCStrTokIndex(&cursor, "=");
    if (token == nullptr || VELKCStrTrimSpace(token, key.get()) < 0) {
        return 0;
    }
    return std::strcmp(key.get(), szKey) == 0;
}
