/* Unicode helpers (UTF-8 upper-casing and caseless comparison) and the
 * legacy code page of a language. */
#ifndef VELKC_UNICODE_H
#define VELKC_UNICODE_H

#include <velkc/export.h>

/* Code-page kinds. */
#define KOVA_CODEPAGE_DMS 1
#define KOVA_CODEPAGE_DOS 2
#define KOVA_CODEPAGE_MAC 3
#define KOVA_CODEPAGE_WIN 4

/* Code-page values. A Mac value is its Windows value plus 19, so the Mac
 * values of UTF-8 and UTF-16 coincide with KOVA_CP_WIN_1255 and
 * KOVA_CP_WIN_1256. */
enum {
    KOVA_CP_UTF8 = 0,
    KOVA_CP_UTF16 = 1,
    KOVA_CP_WIN_437 = 2,
    KOVA_CP_WIN_737 = 3,
    KOVA_CP_WIN_850 = 4,
    KOVA_CP_WIN_852 = 5,
    KOVA_CP_WIN_857 = 6,
    KOVA_CP_WIN_862 = 8,
    KOVA_CP_WIN_866 = 9,
    KOVA_CP_WIN_932 = 10,
    KOVA_CP_WIN_936 = 11,
    KOVA_CP_WIN_949 = 12,
    KOVA_CP_WIN_950 = 13,
    KOVA_CP_WIN_1250 = 14,
    KOVA_CP_WIN_1251 = 15,
    KOVA_CP_WIN_1252 = 16,
    KOVA_CP_WIN_1253 = 17,
    KOVA_CP_WIN_1254 = 18,
    KOVA_CP_WIN_1255 = 19,
    KOVA_CP_WIN_1256 = 20,
    KOVA_CP_MAC_932 = 29,
    KOVA_CP_MAC_936 = 30,
    KOVA_CP_MAC_949 = 31,
    KOVA_CP_MAC_950 = 32,
    KOVA_CP_MAC_1250 = 33,
    KOVA_CP_MAC_1251 = 34,
    KOVA_CP_MAC_1252 = 35,
    KOVA_CP_MAC_1253 = 36,
    KOVA_CP_MAC_1254 = 37,
    KOVA_CP_MAC_1255 = 38,
    KOVA_CP_MAC_1256 = 39
};

VELKC_BEGIN_DECLS

VELKC_API int VELKCCodepageValueParse(int iKind, const char *szLang) VELKC_NOEXCEPT;
VELKC_API int VELKCUnicodeUTF8StrUpper(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;
VELKC_API int VELKCUnicodeUTF8StrCaseCmp(const char *szA, const char *szB) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_UNICODE_H */
