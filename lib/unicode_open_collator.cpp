// VELKCUnicodeIOpenCollator and the process-wide collator it opens.
#include "internal.hpp"

#include <velkc/unicode_icu.h>

extern "C" {
VELKC_API UCollator *pucollSysCollator = nullptr;
}

// Opens the root-locale collator on first use and keeps it for the life of
// the process. A failed open is retried by the next call.
extern "C" VELKC_API UCollator *VELKCUnicodeIOpenCollator(void) noexcept
{
    if (pucollSysCollator == nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        pucollSysCollator = ucol_open("", &status);
        if (pucollSysCollator == nullptr) {
            VELKC_SET_ERR(ERR_OPEN_FAILED);
        }
    }
    return pucollSysCollator;
}
