/**
 * @file velkc/unicode.h
 * @brief Unicode helpers (UTF-8 upper-casing and caseless comparison) and the
 * legacy code page of a language.
 *
 * Case is removed by ICU's full upper-case mapping in the root locale
 * (U+00DF, sharp s, becomes "SS"); the comparison then orders the
 * upper-cased forms with the root collator.
 */
#ifndef VELKC_UNICODE_H
#define VELKC_UNICODE_H

#include <velkc/export.h>

#define KOVA_CODEPAGE_DMS 1 /**< Code-page kind: as Windows. */
#define KOVA_CODEPAGE_DOS 2 /**< Code-page kind: DOS. */
#define KOVA_CODEPAGE_MAC 3 /**< Code-page kind: Mac (Windows value + 19). */
#define KOVA_CODEPAGE_WIN 4 /**< Code-page kind: Windows. */

/**
 * Code-page values. A Mac value is its Windows value plus 19, so the Mac
 * values of UTF-8 and UTF-16 coincide with KOVA_CP_WIN_1255 and
 * KOVA_CP_WIN_1256.
 */
enum {
    KOVA_CP_UTF8 = 0,      /**< UTF-8. */
    KOVA_CP_UTF16 = 1,     /**< UTF-16. */
    KOVA_CP_WIN_437 = 2,   /**< Code page 437. */
    KOVA_CP_WIN_737 = 3,   /**< Code page 737. */
    KOVA_CP_WIN_850 = 4,   /**< Code page 850. */
    KOVA_CP_WIN_852 = 5,   /**< Code page 852. */
    KOVA_CP_WIN_857 = 6,   /**< Code page 857. */
    KOVA_CP_WIN_862 = 8,   /**< Code page 862. */
    KOVA_CP_WIN_866 = 9,   /**< Code page 866. */
    KOVA_CP_WIN_932 = 10,  /**< Code page 932. */
    KOVA_CP_WIN_936 = 11,  /**< Code page 936. */
    KOVA_CP_WIN_949 = 12,  /**< Code page 949. */
    KOVA_CP_WIN_950 = 13,  /**< Code page 950. */
    KOVA_CP_WIN_1250 = 14, /**< Code page 1250. */
    KOVA_CP_WIN_1251 = 15, /**< Code page 1251. */
    KOVA_CP_WIN_1252 = 16, /**< Code page 1252. */
    KOVA_CP_WIN_1253 = 17, /**< Code page 1253. */
    KOVA_CP_WIN_1254 = 18, /**< Code page 1254. */
    KOVA_CP_WIN_1255 = 19, /**< Code page 1255. */
    KOVA_CP_WIN_1256 = 20, /**< Code page 1256. */
    KOVA_CP_MAC_932 = 29,  /**< Mac form of code page 932. */
    KOVA_CP_MAC_936 = 30,  /**< Mac form of code page 936. */
    KOVA_CP_MAC_949 = 31,  /**< Mac form of code page 949. */
    KOVA_CP_MAC_950 = 32,  /**< Mac form of code page 950. */
    KOVA_CP_MAC_1250 = 33, /**< Mac form of code page 1250. */
    KOVA_CP_MAC_1251 = 34, /**< Mac form of code page 1251. */
    KOVA_CP_MAC_1252 = 35, /**< Mac form of code page 1252. */
    KOVA_CP_MAC_1253 = 36, /**< Mac form of code page 1253. */
    KOVA_CP_MAC_1254 = 37, /**< Mac form of code page 1254. */
    KOVA_CP_MAC_1255 = 38, /**< Mac form of code page 1255. */
    KOVA_CP_MAC_1256 = 39  /**< Mac form of code page 1256. */
};

VELKC_BEGIN_DECLS

/**
 * The legacy code page of a language.
 * @param iKind   KOVA_CODEPAGE_DMS or KOVA_CODEPAGE_WIN (the Windows value),
 *                KOVA_CODEPAGE_DOS or KOVA_CODEPAGE_MAC.
 * @param szLang  Language code, matched ignoring ASCII case: "utf8",
 *                "utf16", "enu", "fre", "ger", "ita", "spn", "cht", "chs",
 *                "jpn", "krn", "ptb", "rus", "dan", "nor", "sve", "nld",
 *                "gre", "heb", "plk", "ptg", "hun", "trk", "csy" or "ara".
 * @return A KOVA_CP_* value; -1 for an unknown language (no error
 *         recorded); -1 on failure, also logged: ERR_BAD_PARAMETERS (szLang
 *         null, or an unknown kind for a known language).
 */
VELKC_API int VELKCCodepageValueParse(int iKind, const char *szLang) VELKC_NOEXCEPT;

/**
 * Upper-cases UTF-8 text. The result may be longer than the source.
 * @param szSrc  The text.
 * @param szDst  Output buffer, or NULL with @p cbDst 0 to ask only for the
 *               length. A result that does not fit leaves "" here, with no
 *               error.
 * @param cbDst  Size of @p szDst.
 * @return The byte length of the upper-cased text, terminator not counted:
 *         it fits when below @p cbDst. -1 on failure: ERR_BAD_PARAMETERS
 *         (szSrc null, cbDst negative, or szDst null with cbDst above 0),
 *         ERR_OUT_OF_MEMORY, ERR_UNICODE_FAILED (malformed UTF-8, or a
 *         failed conversion).
 */
VELKC_API int VELKCUnicodeUTF8StrUpper(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;

/**
 * Compares UTF-8 strings ignoring case.
 * @param szA  First string.
 * @param szB  Second string.
 * @return -1, 0 or 1 as @p szA sorts before, equal to or after @p szB;
 *         -2 on failure (test for it explicitly: -1 is a result):
 *         ERR_BAD_PARAMETERS (a null string), ERR_OPEN_FAILED (no
 *         collator), ERR_UNICODE_FAILED (malformed UTF-8 in either string,
 *         or a failed conversion), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCUnicodeUTF8StrCaseCmp(const char *szA, const char *szB) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_UNICODE_H */
