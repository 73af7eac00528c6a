/* SzHashSet: a set of distinct strings in one heap block. */
#ifndef VELKC_HASHSET_H
#define VELKC_HASHSET_H

#include <velkc/export.h>
#include <velkc/list.h>

/* Slot states: empty (null, 0), live (set, 1), tombstone (null, 1). */
typedef struct SzHashSetSlot {
    char *pszKey;
    int fUsed;
} SzHashSetSlot;

/* One block: this header, nSlot slots, then cbSpace bytes of strings,
 * then a private index of the slots. Slots are read-only to callers: only
 * the functions below write them, and they keep the index in step. */
typedef struct SzHashSet {
    int cbSpace;            /* capacity of the string area */
    int cbFree;             /* bytes of the string area not yet handed out */
    int nSlot;              /* number of slots */
    int nItem;              /* number of items */
    char *pchNext;          /* next free byte of the string area */
    SzHashSetSlot rgSlot[]; /* nSlot slots */
} SzHashSet;

VELKC_BEGIN_DECLS

VELKC_API SzHashSet *VELKCSzHashSetAlloc(int cbInitSpace) VELKC_NOEXCEPT;
VELKC_API SzHashSet *VELKCSzHashSetAllocator(int nSlot, int cbSpace) VELKC_NOEXCEPT;
VELKC_API void VELKCSzHashSetFree(SzHashSet *pSet) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetAdd(SzHashSet **ppSet, const char *szItem) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetContains(const SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetRemove(SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;
VELKC_API void VELKCSzHashSetRemoveAll(SzHashSet *pSet) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetItemNum(const SzHashSet *pSet) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetToList(const SzHashSet *pSet, SzList **ppList) VELKC_NOEXCEPT;
VELKC_API int VELKCSzHashSetLookDict(const SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_HASHSET_H */
