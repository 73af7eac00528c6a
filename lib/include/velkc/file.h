/**
 * @file velkc/file.h
 * @brief Line-oriented configuration files: matching, readers, writers,
 * sections, and the per-thread lock table.
 *
 * A file is a sequence of lines, each ending in "\n" except perhaps the
 * last. A comment line has "#" or ";" in its first column and never matches
 * a key or a pattern. A key line is a non-comment line whose key, its first
 * non-empty token at "=" with whitespace and one pair of double quotes
 * trimmed, equals the key sought exactly; its value is everything after its
 * first "=" up to the "\n", trimmed the same way. A section header is a line
 * that starts with "[" and whose last non-white-space character is "]".
 *
 * Only regular files are read or written (symbolic links are followed). No
 * line may be longer than VELKC_FILE_MAX_LINE. The read errors, common to
 * every function here that reads a file: ERR_OPEN_FAILED (missing,
 * unreadable, or not a regular file), ERR_READ_FAILED (a read failed or a
 * line is too long), ERR_OUT_OF_MEMORY.
 *
 * Readers that fill a container take the address of the caller's handle
 * (SzList ** or SzHash **) of an existing container, add to what it holds,
 * and may move it (see VELKCSzListPush(), VELKCSzHashSetValue()); what was
 * added before a failure stays.
 *
 * Writers change a file all or nothing, also across a power loss. Every one
 * rewrites: the lines are copied, changed as asked, into a temporary file
 * beside the target, which is given the target's owner, group, permission
 * bits and extended attributes (ACLs, user.* attributes, security labels),
 * synced, renamed over it, and the directory synced. Writers that add at the
 * end copy the file first, so no write ever lands in the target itself. A
 * missing file, where a writer creates one, is created the same way. Writers
 * of one file take turns (see VELKC_FILE_LOCK_TIMEOUT_MS).
 *
 * Writers resolve the path one component at a time and follow a symbolic
 * link, as the last component or on the way, only when no other user could
 * have aimed it: never a link in a sticky world-writable directory made by
 * neither the caller nor the directory's owner; otherwise a link of the
 * caller's or root's; otherwise only a link that leads to a file (or
 * directory) of its own owner's. So editing root's link from /etc into /run,
 * or a user's dotfile linked into their own folder, edits the file it points
 * to and leaves the link a link, while a link planted by another user is
 * refused with ERR_UNSAFE_LINK (and logged). A dangling link is refused with
 * ERR_OPEN_FAILED, never followed to create a file.
 *
 * The rewrite errors, common to every writer: the read errors,
 * ERR_OPEN_FAILED (also: the temporary file could not be created),
 * ERR_UNSAFE_LINK, ERR_LOCK_TIMEOUT, ERR_STAT_FAILED, ERR_WRITE_FAILED (a
 * write, flush or sync failed, or the owner, mode or an extended attribute
 * could not be set), ERR_RENAME_FAILED. After any of them the file is as it
 * was. ERR_NOT_DURABLE alone means the opposite: the change is in place and
 * visible, but the directory could not be synced (or the commit not cleaned
 * up), so its durability is not confirmed; do not repeat it.
 *
 * Writers refuse (ERR_BAD_PARAMETERS) a key or value that would change the
 * file's structure: a line break ("\n" or "\r") in either, and in a key an
 * "=", nothing but blanks, or a first character "[", "#" or ";". A pair
 * format is a printf format that takes the key, then the value, both as
 * "%s" (default "%s=%s\n").
 */
#ifndef VELKC_FILE_H
#define VELKC_FILE_H

#include <stdio.h>
#include <velkc/export.h>
#include <velkc/hash.h>
#include <velkc/list.h>

#define MATCH_FLAG_LAST 0x0001        /**< The last match wins, not the first. */
#define MATCH_FLAG_PREFIX 0x0002      /**< The line begins with the pattern. */
#define MATCH_FLAG_SUFFIX 0x0004      /**< The line ends with the pattern, before its "\n"; PREFIX wins. */
#define MATCH_FLAG_AFTER 0x0200       /**< Insert after the match, or append. */
#define MATCH_FLAG_IGNORE_CASE 0x0400 /**< Compare the upper-cased forms (VELKCUnicodeUTF8StrUpper()). */

/**
 * The longest line, its "\n" included, that the readers and writers accept;
 * a longer line fails the call with ERR_READ_FAILED, so that a corrupted or
 * endless file costs bounded memory.
 */
#define VELKC_FILE_MAX_LINE (1024 * 1024)

/**
 * Writers of one file take turns: each holds an exclusive lock from before
 * it reads the file until its change is in place, and waits at most this
 * long for it before failing with ERR_LOCK_TIMEOUT. The lock is a lock file
 * of the writer's user, named after the file's directory and name, in a
 * directory only that user can open ("/run/velkc" for root,
 * "/run/user/UID/velkc" or else "/tmp/velkc-UID" for other users), so
 * that no other user can hold it against the writer; it is removed when the
 * writer is done. (Where no such directory can be had, the file itself is
 * locked with flock.) Writers of different users do not take turns. A lock
 * never outlives the call that took it: a child forked meanwhile, by any
 * thread, closes its copy at once. Readers take no lock: every change
 * replaces the file whole. A rewrite replaces the file by a new one, so a
 * second hard link to the old file keeps the old content.
 */
#define VELKC_FILE_LOCK_TIMEOUT_MS 5000

/**
 * One entry of the per-thread lock table (see VELKCFileLockTableGet()),
 * which names the lock files of the system's well-known files for the code
 * that takes those locks.
 */
typedef struct VELKCFileLock {
    FILE *pFile;        /**< The open lock file, NULL while not open. */
    const char *szPath; /**< Path of the lock file; "" in the terminating entry. */
    unsigned int uBit;  /**< The single bit that names the guarded resource; 0 ends the table. */
    int nLock;          /**< Lock-state word, 0 while no lock is held. */
    int nLock2;         /**< Second lock-state word, 0 while no lock is held. */
} VELKCFileLock;

VELKC_BEGIN_DECLS

/**
 * Token-list match: the line is split at any byte of @p szSeps (empty tokens
 * skipped) and item i of the pattern compared with token i (strcmp); an
 * empty item matches any token. Tokens beyond the last item are ignored; a
 * line with fewer tokens than items does not match.
 * @param szLine    The line.
 * @param pPattern  The items; NULL or empty matches every line, comments
 *                  included. Otherwise a comment line never matches.
 * @param szSeps    The separator bytes, e.g. "=\n".
 * @return 1 on a match, 0 on none; -1 on failure: ERR_BAD_PARAMETERS (szLine
 *         or szSeps null), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileMatch(const char *szLine, const SzList *pPattern, const char *szSeps) VELKC_NOEXCEPT;

/**
 * Creates a unique file from a mkstemp() template, with mode 0600, and opens
 * it for writing.
 * @param szTemplate  Path ending in "XXXXXX", completed in place with the
 *                    name created.
 * @return The stream, which the caller closes with fclose() and removes when
 *         done; NULL on failure: ERR_BAD_PARAMETERS (null template),
 *         ERR_OPEN_FAILED (the file could not be created, or opened as a
 *         stream, in which case it is removed).
 */
VELKC_API FILE *VELKCFileTempFileOpen(char *szTemplate) VELKC_NOEXCEPT;

/**
 * The calling thread's lock table, created on first use: an array of
 * VELKCFileLock, 28 live entries and a terminating one (uBit 0, szPath "").
 * The library owns it: it closes its lock files and frees it at thread
 * exit, and a forked child's copy has its lock files closed.
 * @return The table (VELKCFileLock *); NULL on failure, also logged:
 *         ERR_OUT_OF_MEMORY, ERR_OPERATION_FAILED (the thread-specific data
 *         could not be set).
 */
VELKC_API void *VELKCFileLockTableGet(void) VELKC_NOEXCEPT;

/**
 * Closes every open lock file of the calling thread's lock table and clears
 * each entry's nLock.
 * @return 0; -1 when the table cannot be had (the code of
 *         VELKCFileLockTableGet()) or an fclose() failed (no error recorded;
 *         the others are closed all the same).
 */
VELKC_API int VELKCFileCloseLock(void) VELKC_NOEXCEPT;

/**
 * Reads the value of a key: of its first key line, or its last with
 * MATCH_FLAG_LAST. A key line with an empty value counts as none, and ends
 * the copying into @p szValue for the rest of the call.
 * @param szFile   The file.
 * @param szKey    The key.
 * @param szValue  Buffer for the value, or NULL with @p cbValue 0 to ask
 *                 only for its size.
 * @param cbValue  Size of @p szValue.
 * @param flags    0 or MATCH_FLAG_LAST; other bits are ignored.
 * @return The value's length plus one; 0 when the key has no value in the
 *         file (ERR_KEY_NOT_FOUND); -1 on failure: ERR_BAD_PARAMETERS
 *         (szFile or szKey null, negative flags, or szValue null with
 *         cbValue not 0), ERR_NOT_ENOUGH_MEMORY (the value does not fit),
 *         the read errors.
 */
VELKC_API int VELKCFileGetKeyValue(const char *szFile, const char *szKey, char *szValue, int cbValue,
                                   int flags) VELKC_NOEXCEPT;

/**
 * Reads the first line that VELKCILineMatch() accepts, or the last with
 * MATCH_FLAG_LAST, without its "\n".
 * @param szFile     The file.
 * @param szPattern  The pattern.
 * @param szLine     Buffer for the line; zeroed at each match.
 * @param cbLine     Size of @p szLine, above 0.
 * @param flags      MATCH_FLAG_* bits as for VELKCILineMatch(), and
 *                   MATCH_FLAG_LAST.
 * @return The line's length plus one; 0 when no line matches
 *         (ERR_KEY_NOT_FOUND); -1 on failure: ERR_BAD_PARAMETERS (a null
 *         argument, negative flags, cbLine not above 0),
 *         ERR_NOT_ENOUGH_MEMORY (the line does not fit), the read errors.
 */
VELKC_API int VELKCFileGetLine(const char *szFile, const char *szPattern, char *szLine, int cbLine,
                               int flags) VELKC_NOEXCEPT;

/**
 * Reads every "key=value" pair of a file into a table, as VELKCStrSepPair()
 * splits them; a later line of a key overwrites the earlier value. Comment
 * lines are skipped; a line that does not split (no "=", empty key) is
 * skipped too, but leaves ERR_BAD_PARAMETERS in the error record although
 * the call succeeds.
 * @param szFile  The file.
 * @param ppHash  Address of the caller's table handle.
 * @return The table's nPair afterwards; -1 on failure: ERR_BAD_PARAMETERS
 *         (szFile, ppHash or *ppHash null), the read errors.
 */
VELKC_API int VELKCFileGetPair(const char *szFile, SzHash **ppHash) VELKC_NOEXCEPT;

/**
 * Reads the pairs of the first section of a name into a table, as
 * VELKCFileGetPair() does: from the line after its header up to the next
 * line that starts with "[". Comment lines in the section are not skipped
 * ("#a=b" gives the key "#a"). A missing section is no error.
 * @param szFile     The file.
 * @param szSection  The section's name.
 * @param ppHash     Address of the caller's table handle.
 * @return The table's nPair afterwards; -1 on failure: ERR_BAD_PARAMETERS
 *         (a null argument or *ppHash), the read errors.
 */
VELKC_API int VELKCFileGetSection(const char *szFile, const char *szSection, SzHash **ppHash) VELKC_NOEXCEPT;

/**
 * Reads one value of the first section of a name (see VELKCFileGetSection()).
 * @param szFile     The file.
 * @param szSection  The section's name.
 * @param szKey      The key.
 * @param szValue    Buffer for the value, cut to cbValue - 1 bytes without
 *                   an error.
 * @param cbValue    Size of @p szValue, above 0.
 * @return 0; -1 on failure: ERR_BAD_PARAMETERS (a null argument, cbValue not
 *         above 0; logged), ERR_SECTION_NOT_FOUND (the section, or the file,
 *         is missing, or the section holds no pair), ERR_KEY_NOT_FOUND, the
 *         read errors.
 */
VELKC_API int VELKCFileGetSectionValue(const char *szFile, const char *szSection, const char *szKey, char *szValue,
                                       int cbValue) VELKC_NOEXCEPT;

/**
 * Appends the name of every section header to a list, in file order: the
 * text between the header's first "[" and last "]", inner blanks kept.
 * @param szFile  The file.
 * @param ppList  Address of the caller's list handle.
 * @return The list's nItem afterwards; -1 on failure: ERR_BAD_PARAMETERS (a
 *         null argument or *ppList), a header line above 1023 bytes (no
 *         error recorded), the code of a failed append, the read errors.
 */
VELKC_API int VELKCFileEnumSection(const char *szFile, SzList **ppList) VELKC_NOEXCEPT;

/**
 * Reads the pairs of chosen keys, or of all keys, into a table. Each
 * non-comment line splits at its first separator after the key (its first
 * non-empty token at any byte of @p szSeps); key and value are trimmed as by
 * VELKCStrTrimSpace(). Lines without a separator or key are skipped.
 * @param szFile  The file.
 * @param pKeys   The keys wanted; only read. Each is taken at its first
 *                occurrence, and reading stops once all are found; absent
 *                ones are no error. NULL or empty: every pair, a later line
 *                overwriting an earlier one.
 * @param ppHash  Address of the caller's table handle.
 * @param szSeps  The separator bytes, e.g. "=".
 * @return The table's nPair afterwards; -1 on failure: ERR_BAD_PARAMETERS
 *         (szFile, ppHash, *ppHash or szSeps null), the read errors.
 */
VELKC_API int VELKCFileGetKeys(const char *szFile, const SzList *pKeys, SzHash **ppHash,
                               const char *szSeps) VELKC_NOEXCEPT;

/**
 * Appends every line of a file, "\n" kept, to a list; a line above 1023
 * bytes becomes several items.
 * @param szFile  The file.
 * @param ppList  Address of the caller's list handle.
 * @return 0 at the end of the file; -1 on failure: ERR_BAD_PARAMETERS (a
 *         null argument or *ppList), the code of a failed append, the read
 *         errors.
 */
VELKC_API int VELKCFileReadLines(const char *szFile, SzList **ppList) VELKC_NOEXCEPT;

/**
 * Tests whether a key's value (see VELKCFileGetKeyValue()) equals a text,
 * ignoring ASCII case. Values of 512 bytes or more cannot be compared.
 * @param szFile         The file.
 * @param szKey          The key.
 * @param szValue        The expected value.
 * @param defaultResult  Result when the key has no value in the file.
 * @return 1 equal; 0 different; @p defaultResult when the key has no value
 *         (ERR_KEY_NOT_FOUND recorded); 0 on failure: ERR_BAD_PARAMETERS (a
 *         null argument), or the code of VELKCFileGetKeyValue() (logged).
 */
VELKC_API int VELKCFileCheckKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                     int defaultResult) VELKC_NOEXCEPT;

/**
 * Sets a key's value. Its first key line is replaced by the formatted pair,
 * the key written as the file spells it (the text before the line's first
 * "="); later key lines of it are dropped. Without a key line the pair is
 * appended, after a "\n" when the last line lacks one. A missing file is
 * created holding the pair.
 * @param szFile    The file.
 * @param szKey     The key.
 * @param szValue   The value.
 * @param szFormat  Pair format, or NULL for "%s=%s\n"; a "\n" is added when
 *                  it does not end in one.
 * @return 1; -1 on failure: ERR_BAD_PARAMETERS (a null argument, or a key or
 *         value refused), the rewrite errors.
 */
VELKC_API int VELKCFileSetKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                   const char *szFormat) VELKC_NOEXCEPT;

/**
 * Appends a formatted pair, unless the key has a key line already. No "\n"
 * is written before the pair, whatever the last line ends in. A
 * missing file is created holding the pair.
 * @param szFile    The file.
 * @param szKey     The key.
 * @param szValue   The value.
 * @param szFormat  Pair format, or NULL for "%s=%s\n"; a "\n" is added when
 *                  it does not end in one.
 * @return 1 appended; 0 when the key is present (ERR_KEY_EXISTS); -1 on
 *         failure: ERR_BAD_PARAMETERS (a null argument, a key or value
 *         refused, or a directory), the rewrite errors.
 */
VELKC_API int VELKCFileAppendKey(const char *szFile, const char *szKey, const char *szValue,
                                 const char *szFormat) VELKC_NOEXCEPT;

/**
 * Drops every key line of a key.
 * @param szFile  The file, which must exist.
 * @param szKey   The key.
 * @return The number of lines dropped; 0 when there was none
 *         (ERR_KEY_NOT_FOUND; the file is unchanged); -1 on failure:
 *         ERR_BAD_PARAMETERS (a null argument), the rewrite errors.
 */
VELKC_API int VELKCFileRemoveKey(const char *szFile, const char *szKey) VELKC_NOEXCEPT;

/**
 * Inserts @p szLine and "\n":
 * - with a pattern, before the first line that VELKCILineMatch() accepts (the
 *   last with MATCH_FLAG_LAST), or after it with MATCH_FLAG_AFTER (after a
 *   "\n" when that line lacks one);
 * - without one and with MATCH_FLAG_AFTER, at the end (after a "\n" when
 *   the file is not empty and lacks a final one);
 * - without either, as the first line.
 *
 * A missing file is created holding the line.
 * @param szFile     The file.
 * @param szPattern  The pattern, or NULL.
 * @param szLine     The line, without its "\n".
 * @param flags      MATCH_FLAG_* bits as for VELKCILineMatch(), and
 *                   MATCH_FLAG_LAST and MATCH_FLAG_AFTER.
 * @return 1; 0 when no line matches (ERR_KEY_NOT_FOUND; the file is
 *         unchanged); -1 on failure: ERR_BAD_PARAMETERS (szFile or szLine
 *         null, negative flags), ERR_SEEK_FAILED, the rewrite errors.
 */
VELKC_API int VELKCFileAddLine(const char *szFile, const char *szPattern, const char *szLine, int flags) VELKC_NOEXCEPT;

/**
 * Inserts a line before the first line that VELKCFileMatch() accepts, or
 * after it with MATCH_FLAG_AFTER (after a last line without "\n", on that
 * same line). A "\n" follows @p szLine unless it ends in one. An empty
 * pattern matches the first line; with MATCH_FLAG_AFTER it instead appends
 * @p szLine exactly as it stands, creating a missing file.
 * @param szFile    The file, which must exist unless the line is appended.
 * @param pPattern  The token pattern, or NULL.
 * @param szLine    The line; NULL does nothing and returns 1.
 * @param flags     0 or MATCH_FLAG_AFTER.
 * @param szSeps    The separator bytes for VELKCFileMatch().
 * @return 1 inserted; 0 appended; 0 also when no line matches
 *         (ERR_KEY_NOT_FOUND; the unchanged file is rewritten); -1 on
 *         failure: ERR_BAD_PARAMETERS (szFile or szSeps null, other flag
 *         bits), the code of VELKCFileMatch(), the rewrite errors.
 */
VELKC_API int VELKCFileAddLineByKey(const char *szFile, const SzList *pPattern, const char *szLine, int flags,
                                    const char *szSeps) VELKC_NOEXCEPT;

/**
 * Replaces the first line that VELKCILineMatch() accepts, or the last with
 * MATCH_FLAG_LAST, by @p szLine and "\n", or deletes it. A missing file is
 * created holding the line (empty when @p szLine is NULL).
 * @param szFile     The file.
 * @param szPattern  The pattern.
 * @param szLine     The new line without "\n", or NULL to delete.
 * @param flags      MATCH_FLAG_* bits as for VELKCILineMatch(), and
 *                   MATCH_FLAG_LAST.
 * @return 1; 0 when no line matches (ERR_KEY_NOT_FOUND; the file is
 *         unchanged); -1 on failure: ERR_BAD_PARAMETERS (szFile or szPattern
 *         null), ERR_SEEK_FAILED, the rewrite errors.
 */
VELKC_API int VELKCFileSetLine(const char *szFile, const char *szPattern, const char *szLine, int flags) VELKC_NOEXCEPT;

/**
 * Replaces every line that VELKCFileMatch() accepts by @p szLine, followed
 * by "\n" unless it ends in one, or deletes them.
 * @param szFile    The file, which must exist.
 * @param pPattern  The token pattern, not empty.
 * @param szLine    The new line; NULL or "" deletes.
 * @param szSeps    The separator bytes for VELKCFileMatch().
 * @return The number of lines replaced, 0 included (no error; the file is
 *         then unchanged); -1 on failure: ERR_BAD_PARAMETERS (a null
 *         argument other than szLine, or an empty pattern), the code of
 *         VELKCFileMatch(), the rewrite errors.
 */
VELKC_API int VELKCFileSetLineByKey(const char *szFile, const SzList *pPattern, const char *szLine,
                                    const char *szSeps) VELKC_NOEXCEPT;

/**
 * Replaces every occurrence of a text in every line, comments included, from
 * left to right; the inserted text is not searched again.
 * @param szFile  The file, which must exist.
 * @param szOld   The text, not empty.
 * @param szNew   Its replacement.
 * @return The number of replacements; 0 when there was none
 *         (ERR_KEY_NOT_FOUND; the file is unchanged); -1 on failure:
 *         ERR_BAD_PARAMETERS (a null argument, an empty szOld), the rewrite
 *         errors.
 */
VELKC_API int VELKCFileReplaceSubStr(const char *szFile, const char *szOld, const char *szNew) VELKC_NOEXCEPT;

/**
 * Comments out, or back in, the lines holding a text. Blanks (space, tab)
 * at the start of a line are skipped to find its first character. To
 * comment out, a line whose first character is not "#" and whose text from
 * there holds @p szPattern gets a "#" before it, blanks included. To
 * comment in, a line whose first character is "#" and holds @p szPattern
 * loses the blanks and that "#".
 * @param szFile     The file, which must exist.
 * @param szPattern  The text.
 * @param uncomment  0 to comment out, non-zero to comment in.
 * @return 1 when a line changed; 0 when none did (ERR_KEY_NOT_FOUND; the
 *         file is unchanged); -1 on failure: ERR_BAD_PARAMETERS (a null
 *         argument), the rewrite errors.
 */
VELKC_API int VELKCFileLineComment(const char *szFile, const char *szPattern, int uncomment) VELKC_NOEXCEPT;

/**
 * Sets many keys and drops others in one rewrite. Per key, only its first
 * key line is handled: dropped when the key is in @p pRemove, else replaced
 * by the formatted pair when it is in @p pHash; later lines of the key, and
 * all other lines, are copied. The pairs of @p pHash not met are appended in
 * slot order, after a "\n" when the last line lacks one. A missing file is
 * created with mode 0644, owned by the caller's real user and group.
 * @param szFile    The file.
 * @param pHash     The pairs to write; only read.
 * @param pRemove   The keys to drop, or NULL; only read.
 * @param szFormat  Pair format, or NULL for "%s=%s\n"; a "\n" is added when
 *                  it does not end in one.
 * @return 1; -1 on failure: ERR_BAD_PARAMETERS (szFile or pHash null, or a
 *         key or value of pHash refused), the rewrite errors.
 */
VELKC_API int VELKCFileSetKeys(const char *szFile, const SzHash *pHash, const SzHash *pRemove,
                               const char *szFormat) VELKC_NOEXCEPT;

/**
 * Writes a section to a stream in one fwrite(): "[szSection]" and "\n" when
 * a name is given, then every pair of @p pHash in slot order with the
 * format. The stream is not flushed.
 * @param stream     The stream.
 * @param szSection  The section's name, or NULL for no header.
 * @param pHash      The pairs, or NULL for none.
 * @param szFormat   Pair format accepted by VELKCIFileCheckFormat(), or NULL
 *                   for "%s=%s\n".
 * @return 0; -1 on failure: ERR_BAD_PARAMETERS (null stream, a format
 *         refused, a line break in the name, or a key or value refused),
 *         ERR_OUT_OF_MEMORY, ERR_WRITE_FAILED (part may have been written).
 */
VELKC_API int VELKCFileHash2File(FILE *stream, const char *szSection, const SzHash *pHash,
                                 const char *szFormat) VELKC_NOEXCEPT;

/**
 * Appends a section, unless one of that name exists: a "\n" unless
 * the last line ends in one (so an empty or missing file starts with a
 * blank line), then the section as VELKCFileHash2File() writes it. A missing
 * file is created holding it.
 * @param szFile     The file.
 * @param szSection  The section's name.
 * @param pHash      The pairs; only read.
 * @param szFormat   Pair format accepted by VELKCIFileCheckFormat(), or NULL
 *                   for "%s=%s\n".
 * @return 1 added; 0 when the section exists (nothing written, no error);
 *         -1 on failure: ERR_BAD_PARAMETERS (a null argument, a format,
 *         name, key or value refused), the rewrite errors.
 */
VELKC_API int VELKCFileAddSection(const char *szFile, const char *szSection, const SzHash *pHash,
                                  const char *szFormat) VELKC_NOEXCEPT;

/**
 * @name Editing one setting
 * Changing one key of one section and nothing else in the file, as the
 * section readers see sections: the first section of a name runs from its
 * header to the next line that starts with "[", and the lines before the
 * first such line are the section of no name (a NULL section); a key line's
 * key and value are what stand before and after its first "=", trimmed of
 * blanks and of one pair of double quotes, and the last line of a key
 * wins. Setting an existing key replaces only the value's bytes on that last
 * line: its indentation, the key as spelled, the blanks around "=", quotes
 * around the old value and the line ending stay, and the value is put in
 * quotes only where the readers would otherwise trim it. A missing key goes
 * after the last pair of its section (after the header and the comments
 * right below it in a section without pairs), in the section's own style of
 * indentation, spacing and line ending; a missing section goes at the end of
 * the file, after a blank line. Adding a key and removing it again gives the
 * file back byte for byte. Keys, values and section names that would change
 * the file's structure are refused with ERR_BAD_PARAMETERS, as by the other
 * writers, and so are keys with blanks or a pair of quotes around them,
 * which the readers would not find again.
 * @{
 */

/**
 * Sets a key of a section in one commit.
 * @param szFile     The file; a missing one is created.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section.
 * @param szKey      The key.
 * @param szValue    The value.
 * @return 1; -1 on failure: ERR_BAD_PARAMETERS (a null argument, a key,
 *         value or section name refused), the rewrite errors.
 */
VELKC_API int VELKCFileSetSectionKeyValue(const char *szFile, const char *szSection, const char *szKey,
                                          const char *szValue) VELKC_NOEXCEPT;

/**
 * Removes every line of a key from a section in one commit (with the lines
 * that continue them after a line ending in a backslash).
 * @param szFile     The file, which must exist.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section.
 * @param szKey      The key.
 * @return The number of key lines removed; 0 when there was none
 *         (ERR_KEY_NOT_FOUND, or ERR_SECTION_NOT_FOUND when the section is
 *         missing; the file is unchanged); -1 on failure: ERR_BAD_PARAMETERS
 *         (szFile or szKey null), the rewrite errors.
 */
VELKC_API int VELKCFileRemoveSectionKey(const char *szFile, const char *szSection, const char *szKey) VELKC_NOEXCEPT;

/** @} */

/**
 * @name Transactions
 * A read-modify-write without lost updates: VELKCFileEditOpen() takes the
 * file's writers' lock (see VELKC_FILE_LOCK_TIMEOUT_MS) and reads the file
 * into memory; the other calls read and change that locked state, as the
 * calls of "Editing one setting" change a file; VELKCFileEditCommit() writes
 * every change in one commit, with the guarantees of every writer, and
 * VELKCFileEditAbort() drops them. Either ends the transaction, frees it and
 * releases the lock. Other writers of the file wait meanwhile, so keep
 * transactions short. A failed change leaves the transaction as it was.
 * @{
 */

/** The file is held in memory; a larger one cannot be opened for editing. */
#define VELKC_FILE_EDIT_MAX_SIZE (32 * 1024 * 1024)

/** VELKCFileEditOpen(): the file must exist, rather than be created on commit. */
#define EDIT_FLAG_EXISTING 0x0001

/** A transaction on one file (opaque). */
typedef struct VELKCFileEdit VELKCFileEdit;

/**
 * Opens a transaction: takes the file's writers' lock, waiting at most
 * VELKC_FILE_LOCK_TIMEOUT_MS, and reads the file. A missing file is read as
 * empty and created on commit, unless @p flags has EDIT_FLAG_EXISTING.
 * @param szFile  The file.
 * @param flags   0 or EDIT_FLAG_EXISTING.
 * @return The transaction, which VELKCFileEditCommit() or
 *         VELKCFileEditAbort() ends; NULL on failure: ERR_BAD_PARAMETERS
 *         (null file, other flag bits), ERR_OPEN_FAILED (also: missing with
 *         EDIT_FLAG_EXISTING), ERR_UNSAFE_LINK, ERR_LOCK_TIMEOUT,
 *         ERR_FILE_TOO_LARGE (over VELKC_FILE_EDIT_MAX_SIZE),
 *         ERR_READ_FAILED, ERR_OUT_OF_MEMORY.
 */
VELKC_API VELKCFileEdit *VELKCFileEditOpen(const char *szFile, int flags) VELKC_NOEXCEPT;

/**
 * Reads a value of a section from the transaction's state, as the section
 * readers would read it from the file.
 * @param pEdit      The transaction.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section.
 * @param szKey      The key.
 * @param szValue    Buffer for the value, or NULL with @p cbValue 0 to ask
 *                   only for its size.
 * @param cbValue    Size of @p szValue.
 * @return The value's length plus one (1 for an empty value); 0 when the key
 *         is not there (ERR_KEY_NOT_FOUND, or ERR_SECTION_NOT_FOUND when the
 *         section is missing); -1 on failure: ERR_BAD_PARAMETERS (pEdit or
 *         szKey null, cbValue negative, or szValue null with cbValue not
 *         0), ERR_NOT_ENOUGH_MEMORY (the value does not fit).
 */
VELKC_API int VELKCFileEditGetValue(VELKCFileEdit *pEdit, const char *szSection, const char *szKey, char *szValue,
                                    int cbValue) VELKC_NOEXCEPT;

/**
 * Sets a key of a section in the transaction, as
 * VELKCFileSetSectionKeyValue() sets it in a file.
 * @param pEdit      The transaction.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section; a missing section is added.
 * @param szKey      The key.
 * @param szValue    The value.
 * @return 1; -1 on failure: ERR_BAD_PARAMETERS (a null argument, a key,
 *         value or section name refused), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditSetValue(VELKCFileEdit *pEdit, const char *szSection, const char *szKey,
                                    const char *szValue) VELKC_NOEXCEPT;

/**
 * Removes a key from a section in the transaction, as
 * VELKCFileRemoveSectionKey() removes it from a file.
 * @param pEdit      The transaction.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section.
 * @param szKey      The key.
 * @return The number of key lines removed; 0 when there was none
 *         (ERR_KEY_NOT_FOUND, or ERR_SECTION_NOT_FOUND); -1 on failure:
 *         ERR_BAD_PARAMETERS (pEdit or szKey null).
 */
VELKC_API int VELKCFileEditRemoveKey(VELKCFileEdit *pEdit, const char *szSection, const char *szKey) VELKC_NOEXCEPT;

/**
 * Adds an empty section at the end of the transaction's file, after a blank
 * line, unless a section of the name exists.
 * @param pEdit      The transaction.
 * @param szSection  The section's name.
 * @return 1 added; 0 when it exists (no error); -1 on failure:
 *         ERR_BAD_PARAMETERS (a null argument, a line break in the name),
 *         ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditAddSection(VELKCFileEdit *pEdit, const char *szSection) VELKC_NOEXCEPT;

/**
 * Renames the first section of a name in the transaction: only its header
 * line changes.
 * @param pEdit      The transaction.
 * @param szSection  The section's name.
 * @param szNewName  Its new name.
 * @return 1 renamed; 0 when there is no such section (ERR_SECTION_NOT_FOUND)
 *         or a section of the new name exists (ERR_KEY_EXISTS); -1 on
 *         failure: ERR_BAD_PARAMETERS (a null argument, a line break in the
 *         new name), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditRenameSection(VELKCFileEdit *pEdit, const char *szSection,
                                         const char *szNewName) VELKC_NOEXCEPT;

/**
 * Removes the first section of a name from the transaction: its header and
 * every line up to the next line that starts with "[" (and, for the last
 * section, the blank lines before its header).
 * @param pEdit      The transaction.
 * @param szSection  The section's name.
 * @return 1 removed; 0 when there is no such section
 *         (ERR_SECTION_NOT_FOUND); -1 on failure: ERR_BAD_PARAMETERS (a null
 *         argument).
 */
VELKC_API int VELKCFileEditRemoveSection(VELKCFileEdit *pEdit, const char *szSection) VELKC_NOEXCEPT;

/**
 * Lists the transaction's sections: the name of every section header, in
 * file order, as VELKCFileEnumSection() gives them.
 * @param pEdit   The transaction.
 * @param ppList  Address of the caller's list handle; the names are added.
 * @return The list's nItem afterwards; -1 on failure: ERR_BAD_PARAMETERS
 *         (a null argument or *ppList), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditGetSections(VELKCFileEdit *pEdit, SzList **ppList) VELKC_NOEXCEPT;

/**
 * Lists the keys of a section of the transaction, each once, in the order
 * they first appear.
 * @param pEdit      The transaction.
 * @param szSection  The section's name, or NULL for the lines before the
 *                   first section.
 * @param ppList     Address of the caller's list handle; the keys are added.
 * @return The list's nItem afterwards; -1 on failure: ERR_BAD_PARAMETERS (a
 *         null argument or *ppList), ERR_SECTION_NOT_FOUND (no such
 *         section), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditGetKeys(VELKCFileEdit *pEdit, const char *szSection, SzList **ppList) VELKC_NOEXCEPT;

/**
 * The transaction's file as it was read, or as it stands with the changes
 * made so far: for showing a change before it is made.
 * @param pEdit      The transaction.
 * @param fOriginal  Non-zero for the file as read.
 * @param pszText    Receives the text, NUL-terminated, which the caller
 *                   frees with free().
 * @return The text's length in bytes; -1 on failure: ERR_BAD_PARAMETERS (a
 *         null argument), ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCFileEditGetText(VELKCFileEdit *pEdit, int fOriginal, char **pszText) VELKC_NOEXCEPT;

/**
 * Writes every change of the transaction in one commit, with the guarantees
 * of every writer (a missing file is created), then ends it: frees it and
 * releases the lock, also on failure.
 * @param pEdit  The transaction.
 * @return 1 written; 0 when nothing had changed (nothing written); -1 on
 *         failure: ERR_BAD_PARAMETERS (pEdit null), the rewrite errors.
 */
VELKC_API int VELKCFileEditCommit(VELKCFileEdit *pEdit) VELKC_NOEXCEPT;

/**
 * Ends a transaction without writing: frees it and releases the lock.
 * @param pEdit  The transaction, or NULL.
 */
VELKC_API void VELKCFileEditAbort(VELKCFileEdit *pEdit) VELKC_NOEXCEPT;

/** @} */

/**
 * @name Internal, for the library's own use and its tests
 * The line predicates of the readers and writers, and the section editor.
 * @{
 */

/** VELKCIFileModifySection(): replace the section instead of deleting it. */
#define SECTION_FLAG_REPLACE 0x0001

/**
 * Tests whether a line matches a pattern: holds it anywhere, begins with it
 * (MATCH_FLAG_PREFIX), or ends with it before its last "\n"
 * (MATCH_FLAG_SUFFIX; a "\r" counts); with MATCH_FLAG_IGNORE_CASE the
 * upper-cased forms are compared. Other bits are ignored. A comment line
 * never matches.
 * @param szLine     The line.
 * @param szPattern  The pattern; "" matches every non-comment line.
 * @param flags      MATCH_FLAG_* bits, not negative.
 * @return 1 on a match, else 0; 0 also on failure: ERR_BAD_PARAMETERS (a
 *         null argument, negative flags), ERR_OUT_OF_MEMORY. Text that
 *         cannot be upper-cased does not match (its code is recorded).
 */
VELKC_API int VELKCILineMatch(const char *szLine, const char *szPattern, int flags) VELKC_NOEXCEPT;

/**
 * Tests whether a line is a key line of a key, and cuts a non-comment line
 * in place at its first "=", so that it holds the key as the file spells
 * it, blanks included.
 * @param szLine  The line, changed in place: pass a copy.
 * @param szKey   The key.
 * @return 1 for a key line of @p szKey, else 0; 0 also for a null argument
 *         (ERR_BAD_PARAMETERS).
 */
VELKC_API int VELKCILineKeyMatch(char *szLine, const char *szKey) VELKC_NOEXCEPT;

/**
 * Tests whether a line is a section header.
 * @param szLine  The line.
 * @param len     Its length in bytes, "\n" included.
 * @return 1 for a header, else 0 (also for NULL). Never records an error.
 */
VELKC_API int VELKCIFileIsSection(const char *szLine, int len) VELKC_NOEXCEPT;

/**
 * Tests whether a line is the header "[szSection]", followed only by white
 * space (isspace()) up to @p len; the name matches exactly.
 * @param szLine     The line.
 * @param len        Its length in bytes, "\n" included.
 * @param szSection  The section's name.
 * @return 1 on a match, 0 on none; -1 for a null argument
 *         (ERR_BAD_PARAMETERS).
 */
VELKC_API int VELKCIFileMatchSection(const char *szLine, int len, const char *szSection) VELKC_NOEXCEPT;

/**
 * Tests whether a format may write a key/value pair: it must hold "%s", then
 * "=", then "%s", then "\n", in that order.
 * @param szFormat  The format; NULL is accepted (the caller's default
 *                  applies).
 * @return 1 if accepted; 0 if not, with ERR_FORMAT_ERROR and, in the
 *         record's line, the number (1 to 4) of the first element missing.
 */
VELKC_API int VELKCIFileCheckFormat(const char *szFormat) VELKC_NOEXCEPT;

/**
 * Replaces (SECTION_FLAG_REPLACE) or deletes every section of a name. A
 * replaced section is written, where its header stood, as
 * VELKCFileHash2File() writes it. The comment lines of the old section stay,
 * after the new content; its other lines, blank ones included, go.
 * @param szFile        The file, which must exist.
 * @param szSection     The section's name.
 * @param szNewSection  Name of the replacement, or NULL for @p szSection;
 *                      ignored when deleting.
 * @param pHash         Pairs of the replacement, or NULL; only read.
 * @param flags         SECTION_FLAG_REPLACE, or 0 to delete.
 * @param szFormat      Pair format accepted by VELKCIFileCheckFormat(), or
 *                      NULL for "%s=%s\n".
 * @return 1 when a section was found; 0 when none was (ERR_KEY_NOT_FOUND;
 *         the unchanged file is rewritten); -1 on failure:
 *         ERR_BAD_PARAMETERS (szFile or szSection null; replacing: a format,
 *         name, key or value refused), ERR_QUOTA_EXCEEDED (in place of
 *         ERR_WRITE_FAILED when the disk quota is exceeded), the rewrite
 *         errors.
 */
VELKC_API int VELKCIFileModifySection(const char *szFile, const char *szSection, const char *szNewSection,
                                      const SzHash *pHash, int flags, const char *szFormat) VELKC_NOEXCEPT;

/** @} */

VELKC_END_DECLS

#endif /* VELKC_FILE_H */
