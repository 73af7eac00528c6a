// VELKCFileGetSectionValue: one value of a section.
#include "internal/report.hpp"
#include <velkc/containers.hpp>

#include <velkc/file.h>

#include <cerrno>
#include <sys/stat.h>

namespace {

constexpr int kSectionHashSize = 1024;

bool Exists(const char *path)
{
    struct stat st;
    return lstat(path, &st) == 0 || errno != ENOENT;
}

} // namespace

// Writes the value, cut to cbValue - 1 bytes, and returns 0; -1 when the
// section is missing or empty (ERR_SECTION_NOT_FOUND) or the key is absent
// from it (ERR_KEY_NOT_FOUND).
extern "C" int VELKCFileGetSectionValue(const char *szFile, const char *szSection, const char *szKey, char *szValue,
                                        int cbValue) noexcept
{
    VELKC_REQUIRE(((void *)0) != szFile);
    VELKC_REQUIRE(((void *)0) != szSection);
    VELKC_REQUIRE(((void *)0) != szKey);
    VELKC_REQUIRE(((void *)0) != szValue);
    VELKC_REQUIRE(0 < cbValue);

    velkc::Hash section(VELKCSzHashAlloc(kSectionHashSize));
    if (!section.get()) {
        return -1;
    }
    const int pairs = VELKCFileGetSection(szFile, szSection, section.address());
    // A file that is not there has no sections; any other failure means
    // the section could not be looked for.
    if (pairs < 0 && (VELKCErrGet() != ERR_OPEN_FAILED || Exists(szFile))) {
        return -1;
    }
    if (pairs <= 0) {
        VELKC_SET_ERR(ERR_SECTION_NOT_FOUND);
        return -1;
    }
    const char *value = VELKCSzHashGetValue(section.get(), szKey);
    if (value == nullptr) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND);
        return -1;
    }
    snprintf(szValue, static_cast<std::size_t>(cbValue), "%s", value);
    return 0;
}
