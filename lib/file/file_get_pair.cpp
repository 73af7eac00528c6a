// VELKCFileGetPair: every "key=value" pair of a file into a hash.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "line_reader.hpp"
#include "pair_splitter.hpp"

#include <velkc/file.h>

// Comment lines and lines without a key are skipped; a later line of a key
// overwrites the earlier value. Returns the hash's pair count.
extern "C" int VELKCFileGetPair(const char *szFile, SzHash **ppHash) noexcept
{
    if (szFile == nullptr || ppHash == nullptr || *ppHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::PairSplitter splitter;
    if (!splitter.ok()) {
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    while (reader.next()) {
        if (!velkc::IsCommentLine(reader.data()) && !splitter.add(reader.data(), ppHash)) {
            return -1;
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    return (*ppHash)->nPair;
}
