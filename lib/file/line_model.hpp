// Line classification shared by the configuration-file functions.
#pragma once

namespace velkc {

// A comment line starts with '#' or ';' in its very first column; leading
// blanks make an ordinary line. Comments never match keys or patterns.
constexpr bool IsCommentLine(const char *line) noexcept
{
    return line[0] == '#' || line[0] == ';';
}

} // namespace velkc
