// VELKCSzHashEnumKey: count the keys and append them to a list, in slot
// order.
#include "hash_internal.hpp"

extern "C" int VELKCSzHashEnumKey(const SzHash *pHash, SzList **ppList) noexcept
{
    if (pHash == nullptr) {
        return -1;
    }
    if (pHash->nPair == 0) {
        return 0;
    }
    return velkc::hash::AppendKeys(pHash, ppList);
}
