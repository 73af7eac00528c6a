// VELKCFileGetKeyValue: the value of a key, or only the size it needs.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "line_reader.hpp"

#include <velkc/file.h>
#include <velkc/str.h>

#include <cstring>

namespace {

// The value of a key line: everything after its first "=" up to the "\n",
// trimmed in place (one pair of surrounding quotes goes too). Null when the
// line has no value.
char *KeyLineValue(char *line)
{
    char *cursor = std::strchr(line, '=');
    if (cursor == nullptr) {
        return nullptr;
    }
    ++cursor;
    char *value = VELKCStrTokIndex(&cursor, "\n");
    if (value == nullptr || VELKCStrTrimSpace(value, nullptr) <= 0) {
        return nullptr;
    }
    return value;
}

} // namespace

// A null szValue with cbValue 0 only asks for the size. Returns the value's
// size including its NUL, 0 when the key has no value in the file, -1 on
// error.
extern "C" int VELKCFileGetKeyValue(const char *szFile, const char *szKey, char *szValue, int cbValue,
                                    int flags) noexcept
{
    if (szFile == nullptr || szKey == nullptr || flags < 0 || (szValue == nullptr && cbValue != 0)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    char *dest = szValue;
    long size = 0;
    while (reader.nextContaining(szKey)) { // a key line holds its key
        if (!velkc::IsKeyLineOf(reader.view(), szKey)) {
            continue;
        }
        if (const char *value = KeyLineValue(reader.data())) {
            size = static_cast<long>(std::strlen(value)) + 1;
            if (dest != nullptr && size <= cbValue) {
                std::memcpy(dest, value, static_cast<std::size_t>(size));
            }
        } else {
            dest = nullptr; // an empty value ends the copying for this call
        }
        if (!(flags & MATCH_FLAG_LAST)) {
            break;
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status); // not "not found": the rest was never read
    }
    if (size == 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return 0;
    }
    if (szValue != nullptr && size > cbValue) {
        VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
        return -1;
    }
    return static_cast<int>(size);
}
