// Moves "key=value" lines into a hash through a reusable working list.
#include "pair_splitter.hpp"

#include <velkc/error.h>
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
        // A line that does not split is skipped; one that could not be
        // split for want of memory fails the call.
        return VELKCErrGet() != ERR_OUT_OF_MEMORY;
    }
    return VELKCSzHashSetValue(ppHash, list_->pszItem[0], list_->pszItem[1]) >= 0;
}

} // namespace velkc
