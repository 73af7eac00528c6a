// VELKCFileGetSection: the pairs of the first section of a name into a hash.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "line_reader.hpp"
#include "pair_splitter.hpp"

#include <velkc/file.h>

// The section runs from its header to the next line that starts with "[".
// Comment lines inside it are read as pairs too ("#a=b" gives the key "#a").
// A missing section is no error. Returns the hash's pair count.
extern "C" int VELKCFileGetSection(const char *szFile, const char *szSection, SzHash **ppHash) noexcept
{
    if (szFile == nullptr || szSection == nullptr || ppHash == nullptr || *ppHash == nullptr) {
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
    bool found = false;
    while (!found && reader.next()) {
        found = velkc::IsHeaderOf(reader.view(), szSection);
    }
    while (found && reader.next() && reader.data()[0] != '[') {
        if (!splitter.add(reader.data(), ppHash)) {
            return -1;
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    return (*ppHash)->nPair;
}
