// VELKCSzHashSetValue: insert a pair or replace the value of a key.
#include "hash_internal.hpp"
#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <string.h>

namespace {

// A text that points into the table would dangle once the table moves to
// a larger block: such a text is used through a copy. False if the copy
// can't be made.
bool Detach(const SzHash *pHash, const char *&sz, velkc::MallocPtr<char> &copy)
{
    if (!velkc::hash::PointsInto(pHash, sz)) {
        return true;
    }
    copy.reset(strdup(sz));
    if (!copy) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return false;
    }
    sz = copy.get();
    return true;
}

} // namespace

extern "C" int VELKCSzHashSetValue(SzHash **ppHash, const char *szKey, const char *szValue) noexcept
{
    if (ppHash == nullptr || *ppHash == nullptr || szKey == nullptr || szValue == nullptr) {
        return -1;
    }
    SzHash *pHash = *ppHash;
    velkc::MallocPtr<char> keyCopy;
    velkc::MallocPtr<char> valueCopy;
    if (!Detach(pHash, szKey, keyCopy) || !Detach(pHash, szValue, valueCopy)) {
        return -1;
    }
    const velkc::hash::KeyHash kh = velkc::hash::HashKey(szKey);
    int idx = velkc::hash::SlotForWrite(pHash, szKey, kh);
    if (idx < 0) {
        return -1;
    }
    const bool exists = pHash->rgSlot[idx].pszKey != nullptr;
    SzHash *pNew = exists ? velkc::hash::UpdateValue(pHash, szKey, kh, szValue, &idx)
                          : velkc::hash::AddPair(pHash, szKey, kh, szValue, &idx, true);
    if (pNew == nullptr) {
        return -1; // the old table is intact
    }
    *ppHash = pNew;
    return idx;
}
