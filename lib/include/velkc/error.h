/**
 * @file velkc/error.h
 * @brief The per-thread error record and the error codes.
 *
 * A velkc function that fails returns its failure value (-1, -2, 0 or NULL,
 * as documented per function) and records why and where in the calling
 * thread's error record: a code, the base name of the library source that
 * failed (e.g. "file_add_line") and a line. The record is set once, at the
 * innermost failure; a success leaves it untouched and the library never
 * clears it. So test the return value first, then read the record. Records
 * of different threads are independent; a forked child inherits its
 * parent's.
 *
 * Codes are 16-bit values with a zero low byte, conventionally printed as
 * "0x%04X".
 */
#ifndef VELKC_ERROR_H
#define VELKC_ERROR_H

#include <velkc/export.h>

#define ERR_SUCCESS 0x0000           /**< No error. */
#define ERR_NOT_ENOUGH_MEMORY 0x0100 /**< The result does not fit in the caller's buffer. */
#define ERR_OUT_OF_MEMORY 0x0200     /**< An allocation failed. */
#define ERR_OPEN_FAILED 0x0900       /**< A file cannot be opened or created, or is no regular file; no collator. */
#define ERR_READ_FAILED 0x0A00       /**< Reading failed, or a line exceeds VELKC_FILE_MAX_LINE. */
#define ERR_WRITE_FAILED 0x0B00      /**< Writing, flushing or syncing a file failed. */
#define ERR_BAD_PARAMETERS 0x0D00    /**< A null pointer, a value out of range, or text that is refused. */
#define ERR_KEY_NOT_FOUND 0x2000     /**< The key, line, text or section sought is not in the file. */
#define ERR_KEY_EXISTS 0x2100        /**< The key is present already, so nothing was appended. */
#define ERR_SECTION_NOT_FOUND 0x2200 /**< The section is not in the file, or holds no pair. */
#define ERR_QUOTA_EXCEEDED 0x2400    /**< A write failed because the disk quota is exceeded. */
#define ERR_SEEK_FAILED 0x2600       /**< Repositioning in a file failed. */
#define ERR_STAT_FAILED 0x2700       /**< The status of the file being rewritten could not be read. */
#define ERR_RENAME_FAILED 0x2800     /**< The rewritten file could not be moved over the target. */
#define ERR_LOCK_TIMEOUT 0x2900      /**< Another writer held the file past VELKC_FILE_LOCK_TIMEOUT_MS. */
#define ERR_OPERATION_FAILED 0x2A00  /**< A child could not be run or reaped, or ended abnormally; no lock table. */
#define ERR_UNSAFE_LINK 0x2B00       /**< A writer refused a symbolic link that another user could have aimed. */
#define ERR_NOT_DURABLE 0x2C00 /**< The change is visible; its durability is not confirmed (directory sync failed). */
#define ERR_FILE_TOO_LARGE 0x2D00 /**< A file is larger than a transaction holds (VELKC_FILE_EDIT_MAX_SIZE). */
#define ERR_FORMAT_ERROR 0x4000   /**< A pair format is refused; the record's line holds the failed check. */
#define ERR_UNICODE_FAILED 0x8000 /**< A Unicode conversion or case mapping failed, e.g. on malformed UTF-8. */
#define ERR_FORK_FAILED 0x9700    /**< fork() failed. */

VELKC_BEGIN_DECLS

/**
 * Sets all three fields of the calling thread's error record.
 *
 * Callers use it with code ERR_SUCCESS to clear the record before a call.
 * @param code  The error code.
 * @param file  Source name stored as is, not copied: it must outlive every
 *              later read of the record (a string literal).
 * @param line  Source line, or detail number.
 */
VELKC_API void VELKCErrSetEx(unsigned int code, const char *file, int line) VELKC_NOEXCEPT;

/**
 * The calling thread's error code.
 * @return The code last set in this thread, 0 if none was.
 */
VELKC_API unsigned int VELKCErrGet(void) VELKC_NOEXCEPT;

/**
 * The source name stored with the calling thread's error code.
 * @return The base name of the library source that set the code (not
 *         owned by the caller), or NULL if nothing was set in this thread.
 */
VELKC_API const char *VELKCErrorGetFile(void) VELKC_NOEXCEPT;

/**
 * The line stored with the calling thread's error code.
 * @return The source line that set the code; for ERR_FORMAT_ERROR the
 *         number of the failed check; 0 if nothing was set in this thread.
 */
VELKC_API int VELKCErrorGetLine(void) VELKC_NOEXCEPT;

/**
 * @name Internal, for the library's own use and its tests
 * @{
 */

/**
 * The calling thread's error code as a variable; VELKCErrGet() reads it.
 * Library code writes it only through VELKCErrSetEx().
 */
extern VELKC_API __thread unsigned int kovaerrno;

/** @} */

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
