// VELKCSzListUTF8StrCasecmp: caseless comparator for sorting items.

#include <velkc/list.h>
#include <velkc/unicode.h>

// qsort comparator over item pointers, in caseless UTF-8 order.
extern "C" VELKC_API int VELKCSzListUTF8StrCasecmp(const void *ppszA, const void *ppszB) noexcept
{
    return VELKCUnicodeUTF8StrCaseCmp(*static_cast<char *const *>(ppszA), *static_cast<char *const *>(ppszB));
}
