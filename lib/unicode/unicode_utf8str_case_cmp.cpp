// VELKCUnicodeUTF8StrCaseCmp: compares UTF-8 strings ignoring case.
#include "internal/report.hpp"
#include "unicode_internal.hpp"

#include <velkc/unicode.h>
#include <velkc/unicode_icu.h>

#include <cstring>

// Case is removed by a full upper-case mapping of both strings; the root
// collator then orders the upper-cased forms. Either string being malformed
// fails the comparison, wherever the malformed bytes are, so both are
// scanned whole first. Identical strings are equal; all-ASCII strings go
// through a rank table; the rest are upper-cased only as far as the
// collator reads.
extern "C" VELKC_API int VELKCUnicodeUTF8StrCaseCmp(const char *szA, const char *szB) noexcept
{
    if (szA == nullptr || szB == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -2;
    }
    const UCollator *pColl = VELKCUnicodeIOpenCollator();
    if (pColl == nullptr) {
        return -2;
    }
    using namespace velkc::unicode;
    const Utf8Scan scanA = ScanUtf8(szA);
    if (!scanA.valid) {
        VELKC_SET_ERR(ERR_UNICODE_FAILED);
        return -2;
    }
    // Identical text needs no second check. Most texts that differ do so
    // in their first byte, where the look costs least.
    if (szA[0] == szB[0] && std::strcmp(szA, szB) == 0) {
        return 0;
    }
    const Utf8Scan scanB = ScanUtf8(szB);
    if (!scanB.valid) {
        VELKC_SET_ERR(ERR_UNICODE_FAILED);
        return -2;
    }
    const std::string_view a(szA, scanA.cb);
    const std::string_view b(szB, scanB.cb);
    if (scanA.ascii && scanB.ascii) {
        if (const int r = CompareAsciiUpper(pColl, a, b); r != kNoDecision) {
            return r;
        }
    }
    int r = 0;
    if (const unsigned err = CollateUpper(pColl, a, b, &r); err != 0) {
        VELKC_SET_ERR(err);
        return -2;
    }
    return r;
}
