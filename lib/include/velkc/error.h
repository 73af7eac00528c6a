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

/** @cond */
/* The values of the codes; VELKC_ERROR_CODES below says what they mean. */
#define ERR_SUCCESS 0x0000
#define ERR_NOT_ENOUGH_MEMORY 0x0100
#define ERR_OUT_OF_MEMORY 0x0200
#define ERR_OPEN_FAILED 0x0900
#define ERR_READ_FAILED 0x0A00
#define ERR_WRITE_FAILED 0x0B00
#define ERR_BAD_PARAMETERS 0x0D00
#define ERR_KEY_NOT_FOUND 0x2000
#define ERR_KEY_EXISTS 0x2100
#define ERR_SECTION_NOT_FOUND 0x2200
#define ERR_QUOTA_EXCEEDED 0x2400
#define ERR_SEEK_FAILED 0x2600
#define ERR_STAT_FAILED 0x2700
#define ERR_RENAME_FAILED 0x2800
#define ERR_LOCK_TIMEOUT 0x2900
#define ERR_OPERATION_FAILED 0x2A00
#define ERR_UNSAFE_LINK 0x2B00
#define ERR_NOT_DURABLE 0x2C00
#define ERR_FILE_TOO_LARGE 0x2D00
#define ERR_FORMAT_ERROR 0x4000
#define ERR_UNICODE_FAILED 0x8000
#define ERR_FORK_FAILED 0x9700
/** @endcond */

/**
 * The error codes, listed once: for each its constant, its name in C++
 * (velkc::errc), the text VELKCErrString() gives for it, and what it means.
 * X(NAME, CXX_NAME, TEXT, MEANING). Every ERR_ constant has its row.
 */
#define VELKC_ERROR_CODES(X)                                                                                           \
    X(ERR_SUCCESS, success, "no error", "No error.")                                                                   \
    X(ERR_NOT_ENOUGH_MEMORY, not_enough_memory, "result does not fit in the buffer",                                   \
      "The result does not fit in the caller's buffer.")                                                               \
    X(ERR_OUT_OF_MEMORY, out_of_memory, "out of memory", "An allocation failed.")                                      \
    X(ERR_OPEN_FAILED, open_failed, "cannot open file",                                                                \
      "A file cannot be opened or created, or is no regular file; no collator.")                                       \
    X(ERR_READ_FAILED, read_failed, "cannot read file", "Reading failed, or a line exceeds VELKC_FILE_MAX_LINE.")      \
    X(ERR_WRITE_FAILED, write_failed, "cannot write file", "Writing, flushing or syncing a file failed.")              \
    X(ERR_BAD_PARAMETERS, bad_parameters, "bad parameters",                                                            \
      "A null pointer, a value out of range, or text that is refused.")                                                \
    X(ERR_KEY_NOT_FOUND, key_not_found, "key not found", "The key, line, text or section sought is not in the file.")  \
    X(ERR_KEY_EXISTS, key_exists, "key already exists",                                                                \
      "The key (or section name) is present already, so nothing was added.")                                           \
    X(ERR_SECTION_NOT_FOUND, section_not_found, "section not found",                                                   \
      "The section is not in the file, or holds no pair.")                                                             \
    X(ERR_QUOTA_EXCEEDED, quota_exceeded, "disk quota exceeded", "A write failed because the disk quota is exceeded.") \
    X(ERR_SEEK_FAILED, seek_failed, "cannot seek in file", "Repositioning in a file failed.")                          \
    X(ERR_STAT_FAILED, stat_failed, "cannot get file status",                                                          \
      "The status of the file being rewritten could not be read.")                                                     \
    X(ERR_RENAME_FAILED, rename_failed, "cannot rename temporary file",                                                \
      "The rewritten file could not be moved over the target.")                                                        \
    X(ERR_LOCK_TIMEOUT, lock_timeout, "timed out waiting for the file lock",                                           \
      "Another writer held the file past VELKC_FILE_LOCK_TIMEOUT_MS.")                                                 \
    X(ERR_OPERATION_FAILED, operation_failed, "operation failed",                                                      \
      "A child could not be run or reaped, or ended abnormally; no lock table.")                                       \
    X(ERR_UNSAFE_LINK, unsafe_link, "refused to follow a link another user controls",                                  \
      "A writer refused a symbolic link that another user could have aimed.")                                          \
    X(ERR_NOT_DURABLE, not_durable, "change made but not confirmed on disk",                                           \
      "The change is in place and visible; its durability is not confirmed (the directory could not be synced).")      \
    X(ERR_FILE_TOO_LARGE, file_too_large, "file too large to edit in memory",                                          \
      "A file is larger than a transaction holds (VELKC_FILE_EDIT_MAX_SIZE).")                                         \
    X(ERR_FORMAT_ERROR, format_error, "bad file format",                                                               \
      "A pair format is refused; the record's line holds the failed check.")                                           \
    X(ERR_UNICODE_FAILED, unicode_failed, "unicode conversion failed",                                                 \
      "A Unicode conversion or case mapping failed, e.g. on malformed UTF-8.")                                         \
    X(ERR_FORK_FAILED, fork_failed, "cannot fork", "fork() failed.")

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
