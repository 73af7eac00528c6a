// VELKCIFileIsSection: is a line a section header "[...]".
#include <velkc/file.h>

#include <cctype>

// The line begins with "[" and its last non-white-space character is "]".
extern "C" int VELKCIFileIsSection(const char *szLine, int len) noexcept
{
    if (szLine == nullptr || szLine[0] != '[') {
        return 0;
    }
    for (int i = len - 1; i > 0; --i) {
        const unsigned char c = static_cast<unsigned char>(szLine[i]);
        if (!std::isspace(c)) {
            return c == ']';
        }
    }
    return 0;
}
