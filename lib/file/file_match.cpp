// VELKCFileMatch: does a line's token list begin with a pattern list.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "line_model.hpp"

#include <velkc/file.h>
#include <velkc/str.h>

#include <cstring>

// Each pattern item is compared with the token at its position; an empty
// item is a wildcard. Tokens beyond the last item are ignored.
extern "C" int VELKCFileMatch(const char *szLine, const SzList *pPattern, const char *szSeps) noexcept
{
    if (szLine == nullptr || szSeps == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    // An empty pattern matches every line, comments included.
    if (pPattern == nullptr || pPattern->nItem == 0) {
        return 1;
    }
    if (velkc::IsCommentLine(szLine)) {
        return 0;
    }
    velkc::MallocPtr<char> copy(strdup(szLine));
    if (!copy) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    char *cursor = copy.get();
    int i = 0;
    for (char *token; i < pPattern->nItem && (token = VELKCStrTokIndex(&cursor, szSeps)) != nullptr; ++i) {
        const char *item = pPattern->pszItem[i];
        if (item[0] != '\0' && std::strcmp(item, token) != 0) {
            return 0;
        }
    }
    return i == pPattern->nItem;
}
