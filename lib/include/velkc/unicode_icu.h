/**
 * @file velkc/unicode_icu.h
 * @brief Internal, for the library's own use and its tests: the Unicode
 * operations on ICU types.
 *
 * Not included by <velkc.h>, so that users of the library need no ICU
 * headers.
 */
#ifndef VELKC_UNICODE_ICU_H
#define VELKC_UNICODE_ICU_H

#include <unicode/ucol.h>
#include <unicode/utypes.h>
#include <velkc/export.h>

VELKC_BEGIN_DECLS

/**
 * @name Internal, for the library's own use and its tests
 * @{
 */

/**
 * The process-wide root-locale collator: NULL until first opened by
 * VELKCUnicodeIOpenCollator(), then kept, never closed. Not to be closed or
 * replaced by callers.
 */
extern VELKC_API UCollator *pucollSysCollator;

/**
 * The process-wide collator, opened on first use. Threads that race on the
 * first use agree on one collator.
 * @return pucollSysCollator; NULL on failure (ERR_OPEN_FAILED), retried by
 *         the next call.
 */
VELKC_API UCollator *VELKCUnicodeIOpenCollator(void) VELKC_NOEXCEPT;

/**
 * Upper-cases UTF-16 text (root locale, full mapping) into a heap buffer
 * that grows when the result needs more room.
 * @param pSrc    NUL-terminated UTF-16 text.
 * @param ppDst   Address of the caller's malloc'd buffer; on growth it is
 *                realloc'd and the new address stored here. The caller
 *                frees it with free(), also after a failure.
 * @param cchDst  Capacity of *ppDst in units, at least 1.
 * @return The length of the result in units, terminator not counted; -1 on
 *         failure: ERR_BAD_PARAMETERS (pSrc or ppDst null, cchDst below 1),
 *         ERR_OUT_OF_MEMORY (the old buffer stays), ERR_UNICODE_FAILED.
 */
VELKC_API int VELKCUnicodeIUTF16StrUpper(const UChar *pSrc, UChar **ppDst, int cchDst) VELKC_NOEXCEPT;

/** @} */

VELKC_END_DECLS

#endif /* VELKC_UNICODE_ICU_H */
