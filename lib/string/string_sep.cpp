// VELKCStrSep: split a string at any of a set of bytes, keeping empty tokens.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

#include <cstring>

int VELKCStrSep(const char *szInput, const char *szSep, SzList **ppList) noexcept
{
    if (ppList == nullptr || *ppList == nullptr || szInput == nullptr || szSep == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::MallocPtr<char> copy(strdup(szInput));
    if (!copy) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    return velkc::AppendTokens(copy.get(), szSep, ppList, velkc::EmptyTokens::Keep);
}
