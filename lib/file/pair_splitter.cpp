// Moves "key=value" lines into a hash through a reusable working list.
#include "pair_splitter.hpp"

#include <velkc/str.h>

namespace velkc {

namespace {
constexpr int kWorkingListSize = 512;
}

PairSplitter::PairSplitter() : list_(VELKCSzListAlloc(kWorkingListSize)) {}

bool PairSplitter::add(const char *line, SzHash **ppHash)
{
    VELKCSzListRemoveAll(list_.get());
    if (VELKCStrSepPair(line, list_.address()) != 0) {
        return true;
    }
    return VELKCSzHashSetValue(ppHash, list_->pszItem[0], list_->pszItem[1]) >= 0;
}

} // namespace velkc
