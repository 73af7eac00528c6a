// VELKCFileHash2File: write a section header and a table's pairs to a stream.
#include "internal/report.hpp"
#include "section_output.hpp"

#include <velkc/file.h>

#include <cstdio>

// The section is formatted whole first, then written in one call.
extern "C" int VELKCFileHash2File(FILE *stream, const char *szSection, const SzHash *pHash,
                                  const char *szFormat) noexcept
{
    if (stream == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Output section;
    if (velkc::Status status = velkc::WriteSection(section, szSection, pHash, szFormat)) {
        return VELKC_FAIL(status);
    }
    const std::string_view text = section.contents();
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size()) {
        VELKC_SET_ERR(ERR_WRITE_FAILED);
        return -1;
    }
    return 0;
}
