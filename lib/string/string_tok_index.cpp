// VELKCStrTokIndex: one step of a re-entrant tokenizer that never yields an
// empty token.
#include <velkc/str.h>

#include <cstring>

char *VELKCStrTokIndex(char **pszCursor, const char *szSep) noexcept
{
    if (pszCursor == nullptr || *pszCursor == nullptr || szSep == nullptr) {
        return nullptr;
    }
    // Runs of separators, and separators at either end, give empty tokens
    // from strsep: skip them.
    char *token = nullptr;
    do {
        token = strsep(pszCursor, szSep);
    } while (token != nullptr && *token == '\0');
    return token;
}
