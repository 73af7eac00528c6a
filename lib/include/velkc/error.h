/* Per-thread error record: a code and the source position that set it. */
#ifndef VELKC_ERROR_H
#define VELKC_ERROR_H

#include <velkc/export.h>

/* Codes are 16-bit values with a zero low byte, printed as "0x%04X". */
#define ERR_SUCCESS             0x0000
#define ERR_NOT_ENOUGH_MEMORY   0x0100 /* the caller's buffer is too small */
#define ERR_OUT_OF_MEMORY       0x0200 /* an allocation failed */
#define ERR_OPEN_FAILED         0x0900
#define ERR_READ_FAILED         0x0A00
#define ERR_WRITE_FAILED        0x0B00
#define ERR_BAD_PARAMETERS      0x0D00
#define ERR_KEY_NOT_FOUND       0x2000
#define ERR_KEY_EXISTS          0x2100
#define ERR_SECTION_NOT_FOUND   0x2200
#define ERR_QUOTA_EXCEEDED      0x2400
#define ERR_SEEK_FAILED         0x2600
#define ERR_STAT_FAILED         0x2700
#define ERR_RENAME_FAILED       0x2800
#define ERR_LOCK_TIMEOUT        0x2900 /* another writer held the file too long */
#define ERR_OPERATION_FAILED    0x2A00
#define ERR_FORMAT_ERROR        0x4000 /* the line field holds the failed check */
#define ERR_UNICODE_FAILED      0x8000
#define ERR_FORK_FAILED         0x9700

VELKC_BEGIN_DECLS

/* The calling thread's error code. */
extern VELKC_API __thread unsigned int kovaerrno;

VELKC_API void VELKCErrSetEx(unsigned int code, const char *file, int line) VELKC_NOEXCEPT;
VELKC_API unsigned int VELKCErrGet(void) VELKC_NOEXCEPT;
VELKC_API const char *VELKCErrorGetFile(void) VELKC_NOEXCEPT;
VELKC_API int VELKCErrorGetLine(void) VELKC_NOEXCEPT;

/**
 * A short English text for an error code, for messages to people.
 *
 * @param code An error code, such as VELKCErrGet() returns.
 * @return A static, lower-case text without a final period, e.g.
 *         "cannot open file": "no error" for 0, "unknown error" for a code
 *         the library does not set. Never null; the caller must not free it.
 */
VELKC_API const char *VELKCErrString(unsigned int code) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_ERROR_H */
