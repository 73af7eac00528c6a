// VELKCStrTok: split a string at any of a set of bytes, dropping empty tokens.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "string_internal.hpp"

#include <velkc/str.h>

#include <cstring>

int VELKCStrTok(const char *szInput, const char *szSep, SzList **ppList) noexcept
{
    if (szSep == nullptr || ppList == nullptr || szInput == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::MallocPtr<char> copy(strdup(szInput));
    if (!copy) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    return velkc::AppendTokens(copy.get(), szSep, ppList, velkc::EmptyTokens::Drop);
}
