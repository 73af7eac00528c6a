// VELKCSzHashSetFree: the set is one block, freed like a table.
#include <velkc/hashset.h>

#include <cstdlib>

extern "C" void VELKCSzHashSetFree(SzHashSet *pSet) noexcept { std::free(pSet); }
