// VELKCStrCaseLower: lower-case a string into a buffer or in place.

#include "internal/report.hpp"

#include <velkc/str.h>

#include <cctype>
#include <cstring>
#include <utility>

char *VELKCStrCaseLower(char *szInput, int /*iReserved*/, char *szOutput, int iSzOutput) noexcept
{
    if (szInput == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    char *target = szInput;
    if (szOutput != nullptr) {
        if (std::cmp_greater(std::strlen(szInput) + 1, iSzOutput)) {
            VELKC_SET_ERR(ERR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        target = szOutput;
    }
    char *out = target;
    for (const char *in = szInput; *in != '\0'; ++in, ++out) {
        *out = static_cast<char>(std::tolower(static_cast<unsigned char>(*in)));
    }
    *out = '\0';
    return target;
}
