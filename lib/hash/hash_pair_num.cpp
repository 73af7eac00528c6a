// VELKCSzHashPairNum: the number of live pairs.

#include "internal/report.hpp"

#include <velkc/hash.h>

extern "C" int VELKCSzHashPairNum(const SzHash *pHash) noexcept
{
    if (pHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    return pHash->nPair;
}
