// VELKCStrSepPair: split "key = value" at its first '=' into two list items,
// each trimmed of whitespace and one pair of enclosing quotes.
#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <velkc/str.h>

#include <cstring>

int VELKCStrSepPair(const char *szInput, SzList **ppList) noexcept
{
    if (szInput == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::MallocPtr<char> copy(strdup(szInput));
    if (!copy) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    char *value = copy.get();
    char *key = strsep(&value, "=");
    VELKCStrTrimSpace(key, nullptr);
    if (*key == '\0') {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (value == nullptr) {
        // No '=' at all: a key without a value is not a pair.
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (VELKCSzListPush(ppList, key) < 0) {
        return -1;
    }
    VELKCStrTrimSpace(value, nullptr);
    return VELKCSzListPush(ppList, value) < 0 ? -1 : 0;
}
