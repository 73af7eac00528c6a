// VELKCFileGetKeys: the pairs of chosen keys, or of all keys, split at any
// of a set of separators.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "line_reader.hpp"
#include <velkc/containers.hpp>

#include <velkc/file.h>
#include <velkc/str.h>

namespace {

constexpr int kWorkingListSize = 512;

struct Pair {
    char *key;
    char *value;
};

// Splits a line in place at its first separator. False for a comment, a line
// without a separator or one whose key is empty.
bool SplitLine(char *line, const char *szSeps, Pair &pair)
{
    if (velkc::IsCommentLine(line)) {
        return false;
    }
    char *cursor = line;
    pair.key = VELKCStrTokIndex(&cursor, szSeps);
    if (pair.key == nullptr || cursor == nullptr) {
        return false;
    }
    pair.value = cursor;
    VELKCStrTrimSpace(pair.value, nullptr);
    return VELKCStrTrimSpace(pair.key, nullptr) > 0;
}

// Removes key from the wanted keys; false when it is not wanted (any more),
// so only a key's first occurrence is taken.
bool TakeWanted(SzList *wanted, const char *key)
{
    const int index = VELKCSzListFind(wanted, key);
    if (index < 0) {
        return false;
    }
    VELKCSzListRemove(wanted, index);
    return true;
}

} // namespace

// With wanted keys in pKeys only their first occurrences are taken and the
// scan stops once all were seen; without, every pair is taken and a later
// line overwrites an earlier one. Returns the hash's pair count.
extern "C" int VELKCFileGetKeys(const char *szFile, const SzList *pKeys, SzHash **ppHash, const char *szSeps) noexcept
{
    if (szFile == nullptr || ppHash == nullptr || *ppHash == nullptr || szSeps == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::List wanted(VELKCSzListAlloc(kWorkingListSize));
    if (!wanted.get()) {
        return -1;
    }
    if (pKeys != nullptr && VELKCSzListOr(wanted.address(), pKeys, 0) == nullptr) {
        VELKC_LOG(LOG_ERR, "VELKCSzListOr() failed!! kovaerr=[0x%04X]", VELKCErrGet());
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    const bool takeAll = wanted->nItem == 0;
    Pair pair;
    while (reader.next()) {
        if (!SplitLine(reader.data(), szSeps, pair) || (!takeAll && !TakeWanted(wanted.get(), pair.key))) {
            continue;
        }
        if (VELKCSzHashSetValue(ppHash, pair.key, pair.value) < 0) {
            return -1;
        }
        if (!takeAll && wanted->nItem == 0) {
            break; // every wanted key was found
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    return (*ppHash)->nPair;
}
