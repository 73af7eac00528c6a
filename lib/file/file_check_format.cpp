// VELKCIFileCheckFormat: can a printf format write a key/value pair.
#include <velkc/error.h>
#include <velkc/file.h>

#include <string_view>

namespace {

// What a pair format must hold, in this order: the key, "=", the value, and
// the end of the line.
constexpr std::string_view kFormatParts[] = {"%s", "=", "%s", "\n"};

} // namespace

extern "C" int VELKCIFileCheckFormat(const char *szFormat) noexcept
{
    if (szFormat == nullptr) {
        return 1; // the caller's default format applies
    }
    const std::string_view format(szFormat);
    std::size_t pos = 0;
    int check = 1;
    for (std::string_view part : kFormatParts) {
        pos = format.find(part, pos);
        if (pos == std::string_view::npos) {
            // The record's line tells which element is missing.
            VELKCErrSetEx(ERR_FORMAT_ERROR, VELKC_SOURCE, check);
            return 0;
        }
        pos += part.size();
        ++check;
    }
    return 1;
}
