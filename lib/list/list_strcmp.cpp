// VELKCSzListStrcmp: byte-order comparator for sorting items.

#include <velkc/list.h>

#include <cstring>

// qsort comparator over item pointers, in byte order.
extern "C" VELKC_API int VELKCSzListStrcmp(const void *ppszA, const void *ppszB) noexcept
{
    return std::strcmp(*static_cast<char *const *>(ppszA), *static_cast<char *const *>(ppszB));
}
