// VELKCFileReadLines: the raw lines of a file, in pieces of at most 1023
// bytes.
#include "internal/report.hpp"
#include "line_reader.hpp"

#include <velkc/file.h>

#include <cstring>

namespace {
// A line longer than this becomes several items, its "\n" in the last one.
constexpr std::size_t kMaxPiece = 1023;
} // namespace

// Returns 0 at the end of the file, -1 on error.
extern "C" int VELKCFileReadLines(const char *szFile, SzList **ppList) noexcept
{
    if (szFile == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    char piece[kMaxPiece + 1];
    while (reader.next()) {
        for (std::string_view rest = reader.view(); !rest.empty();) {
            const std::string_view head = rest.substr(0, kMaxPiece);
            std::memcpy(piece, head.data(), head.size());
            piece[head.size()] = '\0';
            if (VELKCSzListPush(ppList, piece) < 0) {
                return -1;
            }
            rest.remove_prefix(head.size());
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    return 0;
}
