// VELKCStrDelete: remove the first occurrence of a substring.
#include <velkc/str.h>

int VELKCStrDelete(char *szInput, const char *szKey, char *szOutput, int iSzOutput) noexcept
{
    return VELKCStrReplace(szInput, szKey, "", szOutput, iSzOutput);
}
