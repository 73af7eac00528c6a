// VELKCSzHashAlloc: a new table with 31 slots.
#include "hash_internal.hpp"

#include <algorithm>

extern "C" SzHash *VELKCSzHashAlloc(int cbInitSpace) noexcept
{
    return VELKCIHashAllocator(velkc::hash::kInitSlots, std::max(cbInitSpace, velkc::hash::kMinSpace));
}
