// Line classification shared by the configuration-file functions.
#pragma once

#include <velkc/file.h>

#include <string_view>

namespace velkc {

// A comment line starts with '#' or ';' in its very first column; leading
// blanks make an ordinary line. Comments never match keys or patterns.
constexpr bool IsCommentLine(const char *line) noexcept
{
    return line[0] == '#' || line[0] == ';';
}

// The header line "[szSection]" of the named section, white space after it
// allowed.
inline bool IsHeaderOf(std::string_view line, const char *szSection) noexcept
{
    const int len = static_cast<int>(line.size());
    return VELKCIFileIsSection(line.data(), len) && VELKCIFileMatchSection(line.data(), len, szSection) == 1;
}

} // namespace velkc
