// VELKCFileCheckKeyValue: does a key hold a given value.

#include "internal/report.hpp"

#include <velkc/file.h>

#include <strings.h>

namespace {
constexpr int kValueSize = 512;
}

// 1 when the key's value equals szValue ignoring ASCII case, 0 when it
// differs or on error, defaultResult when the key has no value in the file.
extern "C" int VELKCFileCheckKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                      int defaultResult) noexcept
{
    if (szFile == nullptr || szKey == nullptr || szValue == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return 0;
    }
    char value[kValueSize];
    const int size = VELKCFileGetKeyValue(szFile, szKey, value, kValueSize, 0);
    if (size < 0) {
        const char *errFile = VELKCErrorGetFile();
        VELKC_LOG(LOG_DEBUG, "VELKCFileGetKeyValue(%s) failed [0x%04X %s:%d]", szKey, VELKCErrGet(),
                  errFile != nullptr ? errFile : "(NULL)", VELKCErrorGetLine());
        return 0;
    }
    if (size == 0) {
        return defaultResult;
    }
    return strcasecmp(value, szValue) == 0;
}
