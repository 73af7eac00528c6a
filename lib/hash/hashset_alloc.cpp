// VELKCSzHashSetAlloc: a new set with 31 slots.
#include "hash_internal.hpp"

#include <algorithm>

extern "C" SzHashSet *VELKCSzHashSetAlloc(int cbInitSpace) noexcept
{
    return VELKCSzHashSetAllocator(velkc::hash::kInitSlots, std::max(cbInitSpace, velkc::hash::kMinSpace));
}
