/**
 * @file velkc/str.h
 * @brief Byte-string utilities: case, concatenation, join, replace, split,
 * trim, colon escaping.
 *
 * The functions work on NUL-terminated bytes; UTF-8 passes through
 * untouched. Whitespace here is exactly space, tab, line feed and carriage
 * return. Output buffers are the caller's, passed with their size; the two
 * functions that grow a buffer (VELKCStrCat(), VELKCStrJoin()) hand back
 * malloc'd memory that the caller frees with free(). The splitting
 * functions append to an existing SzList and may move it (see
 * VELKCSzListPush()).
 */
#ifndef VELKC_STR_H
#define VELKC_STR_H

#include <velkc/export.h>
#include <velkc/list.h>

VELKC_BEGIN_DECLS

/**
 * Lower-cases a string byte by byte with tolower() (in the "C" locale only
 * A to Z change).
 * @param szInput    The string; lower-cased in place when @p szOutput is
 *                   NULL.
 * @param iReserved  Ignored; pass 0.
 * @param szOutput   Buffer for the result, or NULL.
 * @param iSzOutput  Size of @p szOutput; at least strlen(szInput) + 1.
 * @return The lower-cased string (@p szOutput, or @p szInput in place);
 *         NULL on failure: ERR_BAD_PARAMETERS (szInput null),
 *         ERR_NOT_ENOUGH_MEMORY (@p szOutput too small; left untouched).
 */
VELKC_API char *VELKCStrCaseLower(char *szInput, int iReserved, char *szOutput, int iSzOutput) VELKC_NOEXCEPT;

/**
 * Appends a string to a heap buffer that grows as needed.
 *
 * When *@p pszDest is NULL or *@p pcbDest is below 1, a new zeroed buffer of
 * 1024 bytes (or strlen(szSrc) + 1 when longer) replaces it, without freeing
 * what *@p pszDest held. A buffer too small is grown with realloc() by 1024
 * bytes, or by strlen(szSrc) + 1 for a source above 1022 bytes.
 * @param pszDest  Address of the caller's buffer; the caller frees it with
 *                 free().
 * @param pcbDest  Address of the buffer's size, updated with it.
 * @param szSrc    Text to append; NULL or "" appends nothing.
 * @return 0; -1 on failure: ERR_BAD_PARAMETERS (pszDest or pcbDest null),
 *         ERR_OUT_OF_MEMORY. A failed realloc() leaves the old buffer in
 *         *@p pszDest but the larger size in *@p pcbDest.
 */
VELKC_API int VELKCStrCat(char **pszDest, int *pcbDest, const char *szSrc) VELKC_NOEXCEPT;

/**
 * Joins strings with a separator between them.
 *
 * Null items are skipped together with their separator. The result goes to
 * a heap buffer: allocated when *@p pszOutStr is NULL, grown with realloc()
 * when too small (on failure it is freed and *@p pszOutStr set to NULL),
 * else reused; it is zeroed before it is filled.
 * @param rgszMem    The items; only read.
 * @param nItems     Number of items, at least 1.
 * @param szJoin     The separator.
 * @param pszOutStr  Address of the caller's buffer or NULL; the caller frees
 *                   it with free().
 * @param pcbSize    Address of the buffer's size, updated with it.
 * @return 0; -1 on failure, also logged: ERR_BAD_PARAMETERS (a null
 *         argument, nItems below 1, a buffer given with *@p pcbSize below 1,
 *         or nothing to join: all items null, or all empty with an empty
 *         separator), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCStrJoin(char *const *rgszMem, int nItems, const char *szJoin, char **pszOutStr,
                           int *pcbSize) VELKC_NOEXCEPT;

/**
 * Replaces the first occurrence of a substring.
 * @param szInput    The string; changed in place when @p szOutput is NULL.
 * @param szOld      Text to replace.
 * @param szNew      Replacement.
 * @param szOutput   Buffer for the result (not overlapping the input), or
 *                   NULL.
 * @param iSzOutput  Size of @p szOutput, or of @p szInput's buffer in place.
 *                   Checked before the search: it must hold strlen(szInput)
 *                   + 1 + strlen(szNew) - strlen(szOld) bytes even when
 *                   @p szOld does not occur.
 * @return 1 replaced; 0 @p szOld not found (nothing written); -1 on failure:
 *         ERR_BAD_PARAMETERS (szInput, szOld or szNew null),
 *         ERR_NOT_ENOUGH_MEMORY (@p iSzOutput too small).
 */
VELKC_API int VELKCStrReplace(char *szInput, const char *szOld, const char *szNew, char *szOutput,
                              int iSzOutput) VELKC_NOEXCEPT;

/**
 * Deletes the first occurrence of a substring: VELKCStrReplace() with "".
 * @param szInput    The string; changed in place when @p szOutput is NULL.
 * @param szKey      Text to delete.
 * @param szOutput   Buffer for the result, or NULL.
 * @param iSzOutput  Size of @p szOutput, or of @p szInput's buffer in place.
 * @return As VELKCStrReplace().
 */
VELKC_API int VELKCStrDelete(char *szInput, const char *szKey, char *szOutput, int iSzOutput) VELKC_NOEXCEPT;

/**
 * Splits a string at every byte of a set and appends every token, empty ones
 * included, to a list. "a,,b" gives "a", "", "b"; "" gives one empty token.
 * @param szInput  The string; only read.
 * @param szSep    The separator bytes.
 * @param ppList   Address of the caller's list handle; *ppList must be a
 *                 list. Updated when the list moves.
 * @return The number of tokens appended; -1 on failure: ERR_BAD_PARAMETERS
 *         (a null argument or *ppList), ERR_OUT_OF_MEMORY, or the code of a
 *         failed append (the tokens appended before stay).
 */
VELKC_API int VELKCStrSep(const char *szInput, const char *szSep, SzList **ppList) VELKC_NOEXCEPT;

/**
 * Splits a string at every byte of a set and appends the non-empty tokens to
 * a list. "_a_bc_" at "_" gives "a", "bc".
 * @param szInput  The string; only read.
 * @param szSep    The separator bytes.
 * @param ppList   Address of the caller's list handle; *ppList must be a
 *                 list. Updated when the list moves.
 * @return The number of tokens appended; -1 on failure as VELKCStrSep().
 */
VELKC_API int VELKCStrTok(const char *szInput, const char *szSep, SzList **ppList) VELKC_NOEXCEPT;

/**
 * One step of a re-entrant tokenizer that never yields an empty token.
 * Cuts the text in place after the token (as strsep() does) and advances
 * the cursor past the token and its separator.
 * @param pszCursor  Address of the cursor into the caller's writable text;
 *                   set to NULL once the text is used up.
 * @param szSep      The separator bytes.
 * @return The next token, inside the caller's text; NULL when none is left
 *         or an argument is null. Never records an error.
 */
VELKC_API char *VELKCStrTokIndex(char **pszCursor, const char *szSep) VELKC_NOEXCEPT;

/**
 * Splits "key = value" at its first "=" and appends the key, then the value,
 * each trimmed as by VELKCStrTrimSpace(); further "=" belong to the value.
 * @param szInput  The text; only read.
 * @param ppList   Address of the caller's list handle; *ppList must be a
 *                 list. Updated when the list moves.
 * @return 0; -1 on failure: ERR_BAD_PARAMETERS (a null argument or *ppList,
 *         no "=", or an empty key), ERR_OUT_OF_MEMORY, or the code of a
 *         failed append (the key may have been appended).
 */
VELKC_API int VELKCStrSepPair(const char *szInput, SzList **ppList) VELKC_NOEXCEPT;

/**
 * Strips the bytes of a set from both ends of a string. Quotes are kept.
 * @param szInput   The string; trimmed in place when @p szOutput is NULL or
 *                  equal to it.
 * @param szOutput  Buffer of at least strlen(szInput) + 1 bytes, or NULL. It
 *                  must not start after @p szInput and within its text.
 * @param szDelim   The bytes to strip; NULL for whitespace.
 * @return The length of the result; -1 on failure: ERR_BAD_PARAMETERS
 *         (szInput null, or @p szOutput inside the input's text).
 */
VELKC_API int VELKCStrTrim(char *szInput, char *szOutput, const char *szDelim) VELKC_NOEXCEPT;

/**
 * Strips whitespace from both ends of a string, then one pair of enclosing
 * double quotes: "\"\"" gives "", a lone quote stays.
 * @param szInput   The string; trimmed in place when @p szOutput is NULL or
 *                  equal to it.
 * @param szOutput  Buffer of at least strlen(szInput) + 1 bytes, or NULL. It
 *                  must not start after @p szInput and within its text.
 * @return The length of the result; -1 on failure as VELKCStrTrim().
 */
VELKC_API int VELKCStrTrimSpace(char *szInput, char *szOutput) VELKC_NOEXCEPT;

/**
 * Escapes a string for a colon-separated record: ":" becomes ";," and ";"
 * becomes ";;".
 * @param szSrc  The text.
 * @param szDst  Output buffer of @p cbDst + 1 bytes: the terminator may land
 *               at szDst[cbDst]. Not @p szSrc.
 * @param cbDst  Most bytes of encoded text, terminator not counted.
 * @return The length of the encoded text; -1 on failure:
 *         ERR_BAD_PARAMETERS (a null argument, or szSrc == szDst),
 *         ERR_NOT_ENOUGH_MEMORY (longer than @p cbDst; @p szDst is left
 *         partly written).
 */
VELKC_API int VELKCStrEncodeColon(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;

/**
 * Undoes VELKCStrEncodeColon(). A ";" at the end, or before any byte but ","
 * and ";", ends the text there without an error.
 * @param szSrc  The encoded text.
 * @param szDst  Output buffer of @p cbDst + 1 bytes. Not @p szSrc.
 * @param cbDst  Most bytes of decoded text, terminator not counted; the
 *               check is strlen(szSrc) <= cbDst.
 * @return The length of the decoded text; -1 on failure:
 *         ERR_BAD_PARAMETERS (a null argument, or szSrc == szDst),
 *         ERR_NOT_ENOUGH_MEMORY (@p szSrc longer than @p cbDst).
 */
VELKC_API int VELKCStrDecodeColon(const char *szSrc, char *szDst, int cbDst) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_STR_H */
