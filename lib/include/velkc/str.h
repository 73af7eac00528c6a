/* Byte-string utilities: case, concatenation, join, replace, split, trim,
 * colon escaping. */
#ifndef VELKC_STR_H
#define VELKC_STR_H

#include <velkc/export.h>
#include <velkc/list.h>

VELKC_BEGIN_DECLS

VELKC_API char *VELKCStrCaseLower(char *szInput, int iReserved, char *szOutput, int iSzOutput) VELKC_NOEXCEPT;
VELKC_API int VELKCStrCat(char **pszDest, int *pcbDest, const char *szSrc) VELKC_NOEXCEPT;
VELKC_API int VELKCStrJoin(char **rgszMem, int nItems, const char *szJoin, char **pszOutStr, int *pcbSize) VELKC_NOEXCEPT;
VELKC_API int VELKCStrReplace(char *szInput, const char *szOld, const char *szNew, char *szOutput, int iSzOutput) VELKC_NOEXCEPT;
VELKC_API int VELKCStrDelete(char *szInput, const char *szKey, char *szOutput, int iSzOutput) VELKC_NOEXCEPT;
VELKC_API int VELKCStrSep(const char *szInput, const char *szSep, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API int VELKCStrTok(const char *szInput, const char *szSep, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API char *VELKCStrTokIndex(char **pszCursor, const char *szSep) VELKC_NOEXCEPT;
VELKC_API int VELKCStrSepPair(const char *szInput, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API int VELKCStrTrim(char *szInput, char *szOutput, const char *szDelim) VELKC_NOEXCEPT;
VELKC_API int VELKCStrTrimSpace(char *szInput, char *szOutput) VELKC_NOEXCEPT;
VELKC_API int VELKCStrEncodeColon(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;
VELKC_API int VELKCStrDecodeColon(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_STR_H */
