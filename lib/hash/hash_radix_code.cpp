// VELKCRadixHashCode: the home slot of a text in a table of nSlot slots.
#include "hash_internal.hpp"

// The sum, with 32-bit wrap-around, of the text's little-endian 32-bit
// words (the last one padded with zero bytes), modulo the slot count.
extern "C" int VELKCRadixHashCode(const char *sz, unsigned int nSlot) noexcept
{
    if (sz == nullptr || nSlot == 0) {
        return -1;
    }
    return static_cast<int>(velkc::hash::HashKey(sz).sum % nSlot);
}
