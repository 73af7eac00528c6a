// VELKCFileEnumSection: the names of all sections, in file order.
#include "internal/report.hpp"
#include "line_reader.hpp"

#include <velkc/file.h>

#include <cstring>

namespace {
// Longest header line taken, "\n" included.
constexpr std::size_t kMaxHeaderLine = 1023;
} // namespace

// Pushes the text between each header's first "[" and last "]", inner blanks
// kept. A header line longer than 1023 bytes ends the call with -1. Returns
// the list's item count.
extern "C" int VELKCFileEnumSection(const char *szFile, SzList **ppList) noexcept
{
    if (szFile == nullptr || ppList == nullptr || *ppList == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::LineReader reader;
    if (velkc::Status status = reader.open(szFile)) {
        return VELKC_FAIL(status);
    }
    while (reader.next()) {
        if (!VELKCIFileIsSection(reader.data(), static_cast<int>(reader.size()))) {
            continue;
        }
        if (reader.size() > kMaxHeaderLine) {
            return -1;
        }
        const std::string_view line = reader.view();
        const std::string_view name = line.substr(1, line.rfind(']') - 1);
        char buf[kMaxHeaderLine + 1];
        std::memcpy(buf, name.data(), name.size());
        buf[name.size()] = '\0';
        if (VELKCSzListPush(ppList, buf) < 0) {
            return -1;
        }
    }
    if (velkc::Status status = reader.error()) {
        return VELKC_FAIL(status);
    }
    return (*ppList)->nItem;
}
