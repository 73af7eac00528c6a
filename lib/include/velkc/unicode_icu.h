/* Internal Unicode operations on ICU types. Kept out of <velkc.h> so that
 * users of the library need no ICU headers. */
#ifndef VELKC_UNICODE_ICU_H
#define VELKC_UNICODE_ICU_H

#include <velkc/export.h>
#include <unicode/ucol.h>
#include <unicode/utypes.h>

VELKC_BEGIN_DECLS

/* The process-wide collator, opened on first use and never closed. */
extern VELKC_API UCollator *pucollSysCollator;

VELKC_API UCollator *VELKCUnicodeIOpenCollator(void) VELKC_NOEXCEPT;
VELKC_API int VELKCUnicodeIUTF16StrUpper(const UChar *pSrc, UChar **ppDst, int cchDst) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_UNICODE_ICU_H */
