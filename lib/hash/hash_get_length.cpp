// VELKCSzHashGetLength: the number of live pairs; a null table is not an
// error here.
#include <velkc/hash.h>

extern "C" int VELKCSzHashGetLength(const SzHash *pHash) noexcept { return pHash == nullptr ? -1 : pHash->nPair; }
