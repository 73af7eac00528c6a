/* SzHash: a string-to-string table with open addressing in one heap block. */
#ifndef VELKC_HASH_H
#define VELKC_HASH_H

#include <velkc/export.h>
#include <velkc/list.h>

/* Slot states: empty (both null), live (both set), tombstone (key null,
 * value left set). */
typedef struct SzHashSlot {
    char *pszKey;
    char *pszVal;
} SzHashSlot;

/* One block: this header, nSlot slots, then cbSpace bytes of strings,
 * then a private index of the slots. Slots are read-only to callers: only
 * the functions below write them, and they keep the index in step. */
typedef struct SzHash {
    int cbSpace;         /* capacity of the string area */
    int cbFree;          /* bytes of the string area not yet handed out */
    int nSlot;           /* number of slots */
    int nPair;           /* number of live pairs */
    char *pchNext;       /* next free byte of the string area */
    SzHashSlot rgSlot[]; /* nSlot slots */
} SzHash;

VELKC_BEGIN_DECLS

VELKC_API SzHash *VELKCSzHashAlloc(int cbInitSpace) VELKC_NOEXCEPT;
VELKC_API void VELKCSzHashFree(SzHash *pHash) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetValue(SzHash **ppHash, const char *szKey, const char *szValue) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzHashGetValue(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzHashRemoveKey(SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;
VELKC_API void VELKCHashRemoveAll(SzHash *pHash) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashPairNum(const SzHash *pHash) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashGetLength(const SzHash *pHash) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashEnumKey(const SzHash *pHash, SzList **ppList) VELKC_NOEXCEPT;

/* Internal operations, exported for the table's own tests. */
VELKC_API SzHash *VELKCIHashAllocator(int nSlot, int cbSpace) VELKC_NOEXCEPT;
VELKC_API int VELKCRadixHashCode(const char *sz, unsigned int nSlot) VELKC_NOEXCEPT;
VELKC_API int VELKCGetLookDict(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;
VELKC_API int VELKCSetLookDict(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;
VELKC_API SzHash *VELKCICheckSpace(SzHash *pHash, int cbNeed) VELKC_NOEXCEPT;
VELKC_API SzHash *VELKCVELKIReSizeHash(SzHash *pHash, int nSlot, int cbSpace) VELKC_NOEXCEPT;
VELKC_API void VELKCCopyHash(const SzHash *pSrc, SzHash *pDst) VELKC_NOEXCEPT;
VELKC_API SzHash *VELKCInsertNewPair(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) VELKC_NOEXCEPT;
VELKC_API void VELKCInsertPair(SzHash *pHash, const char *szKey, const char *szValue, int idx) VELKC_NOEXCEPT;
VELKC_API SzHash *VELKCVELKIUpdateValue(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_HASH_H */
