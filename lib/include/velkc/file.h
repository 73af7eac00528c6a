/* Line-oriented configuration files: matching, readers, writers, sections,
 * the safe rewrite and the per-thread lock table. */
#ifndef VELKC_FILE_H
#define VELKC_FILE_H

#include <stdio.h>
#include <velkc/export.h>
#include <velkc/hash.h>
#include <velkc/list.h>

/* Match flags shared by the readers and writers. */
#define MATCH_FLAG_LAST         0x0001 /* the last match wins, not the first */
#define MATCH_FLAG_PREFIX       0x0002 /* the line begins with the pattern */
#define MATCH_FLAG_SUFFIX       0x0004 /* the line ends with the pattern */
#define MATCH_FLAG_AFTER        0x0200 /* insert after the match, or append */
#define MATCH_FLAG_IGNORE_CASE  0x0400

/* The longest line, its "\n" included, that the readers and writers accept;
 * a longer line fails the call with ERR_READ_FAILED, so that a corrupted or
 * endless file costs bounded memory. */
#define VELKC_FILE_MAX_LINE (1024 * 1024)

/* Writers of one file take turns: each holds an exclusive lock on the file
 * (flock) from before it reads it until its change is in place, and waits at
 * most this long for it before failing with ERR_LOCK_TIMEOUT. Readers take
 * no lock: every change replaces the file whole, or appends to it in one
 * write. A rewrite replaces the file by a new one, so a second hard link to
 * the old file keeps the old content. */
#define VELKC_FILE_LOCK_TIMEOUT_MS 5000

/* VELKCIFileModifySection: replace the section instead of deleting it. */
#define SECTION_FLAG_REPLACE    0x0001

/* One entry of the per-thread lock table. */
typedef struct VELKCFileLock {
    FILE *pFile;        /* open lock file, null while not open */
    const char *szPath; /* lock file path; empty in the terminating entry */
    unsigned int uBit;  /* the guarded resource; 0 ends the table */
    int nLock;          /* lock-state words, 0 while no lock is held */
    int nLock2;
} VELKCFileLock;

VELKC_BEGIN_DECLS

/* Line model. */
VELKC_API int VELKCILineMatch(const char *szLine, const char *szPattern, int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCILineKeyMatch(char *szLine, const char *szKey) VELKC_NOEXCEPT;
VELKC_API int VELKCFileMatch(const char *szLine, const SzList *pPattern, const char *szSeps) VELKC_NOEXCEPT;
VELKC_API int VELKCIFileIsSection(const char *szLine, int len) VELKC_NOEXCEPT;
VELKC_API int VELKCIFileMatchSection(const char *szLine, int len, const char *szSection) VELKC_NOEXCEPT;
VELKC_API int VELKCIFileCheckFormat(const char *szFormat) VELKC_NOEXCEPT;

/* Safe rewrite and lock table. */
VELKC_API FILE *VELKCFileTempFileOpen(char *szTemplate) VELKC_NOEXCEPT;
VELKC_API void *VELKCFileLockTableGet(void) VELKC_NOEXCEPT;
VELKC_API int VELKCFileCloseLock(void) VELKC_NOEXCEPT;

/* Readers. */
VELKC_API int VELKCFileGetKeyValue(const char *szFile, const char *szKey, char *szValue, int cbValue, int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCFileGetLine(const char *szFile, const char *szPattern, char *szLine, int cbLine, int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCFileGetPair(const char *szFile, SzHash **ppHash) VELKC_NOEXCEPT;
VELKC_API int VELKCFileGetSection(const char *szFile, const char *szSection, SzHash **ppHash) VELKC_NOEXCEPT;
VELKC_API int VELKCFileGetSectionValue(const char *szFile, const char *szSection, const char *szKey,
                                       char *szValue, int cbValue) VELKC_NOEXCEPT;
VELKC_API int VELKCFileEnumSection(const char *szFile, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API int VELKCFileGetKeys(const char *szFile, const SzList *pKeys, SzHash **ppHash, const char *szSeps) VELKC_NOEXCEPT;
VELKC_API int VELKCFileReadLines(const char *szFile, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API int VELKCFileCheckKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                     int defaultResult) VELKC_NOEXCEPT;

/* Key and line writers. */
VELKC_API int VELKCFileSetKeyValue(const char *szFile, const char *szKey, const char *szValue,
                                   const char *szFormat) VELKC_NOEXCEPT;
VELKC_API int VELKCFileAppendKey(const char *szFile, const char *szKey, const char *szValue,
                                 const char *szFormat) VELKC_NOEXCEPT;
VELKC_API int VELKCFileRemoveKey(const char *szFile, const char *szKey) VELKC_NOEXCEPT;
VELKC_API int VELKCFileAddLine(const char *szFile, const char *szPattern, const char *szLine, int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCFileAddLineByKey(const char *szFile, const SzList *pPattern, const char *szLine, int flags,
                                    const char *szSeps) VELKC_NOEXCEPT;
VELKC_API int VELKCFileSetLine(const char *szFile, const char *szPattern, const char *szLine, int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCFileSetLineByKey(const char *szFile, const SzList *pPattern, const char *szLine,
                                    const char *szSeps) VELKC_NOEXCEPT;
VELKC_API int VELKCFileReplaceSubStr(const char *szFile, const char *szOld, const char *szNew) VELKC_NOEXCEPT;
VELKC_API int VELKCFileLineComment(const char *szFile, const char *szPattern, int uncomment) VELKC_NOEXCEPT;
VELKC_API int VELKCFileSetKeys(const char *szFile, SzHash *pHash, SzHash *pRemove, const char *szFormat) VELKC_NOEXCEPT;

/* Sections. */
VELKC_API int VELKCFileHash2File(FILE *stream, const char *szSection, const SzHash *pHash, const char *szFormat) VELKC_NOEXCEPT;
VELKC_API int VELKCFileAddSection(const char *szFile, const char *szSection, const SzHash *pHash,
                                  const char *szFormat) VELKC_NOEXCEPT;
VELKC_API int VELKCIFileModifySection(const char *szFile, const char *szSection, const char *szNewSection,
                                      const SzHash *pHash, int flags, const char *szFormat) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_FILE_H */
