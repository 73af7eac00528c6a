// VELKCSzHashFree: the table is one block.
#include <velkc/hash.h>

#include <cstdlib>

extern "C" void VELKCSzHashFree(SzHash *pHash) noexcept { std::free(pHash); }
