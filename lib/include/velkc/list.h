/* SzList: an array of strings kept in one heap block. */
#ifndef VELKC_LIST_H
#define VELKC_LIST_H

#include <velkc/export.h>

/* Sort modes (fMode) and the And/Or flag that asks for a new list. */
#define OP_UNSORTED        0
#define OP_SORTED          1
#define OP_UNICODE_SORTED  16
#define OP_NEW_LIST        4096

/* One block: this 32-byte header, the item slots growing upward after it,
 * and the strings packed downward from the block's end. */
typedef struct SzList {
    int cbSize;      /* size of the whole block */
    int nItem;       /* item slots in use */
    int cbFree;      /* bytes free between the slots and the string area */
    int fMode;       /* OP_UNSORTED, OP_SORTED or OP_UNICODE_SORTED */
    char *pszStrEnd; /* lowest byte of the string area */
    char *pszEmpty;  /* the block's last byte, always NUL: the hole string */
    char *pszItem[]; /* nItem items, in list order */
} SzList;

VELKC_BEGIN_DECLS

VELKC_API SzList *VELKCSzListAlloc(int size) VELKC_NOEXCEPT;
VELKC_API void VELKCSzListFree(SzList *pList) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzListGet(const SzList *pList, int index) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListInsert(SzList **ppList, int index, const char *sz) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListPush(SzList **ppList, const char *sz) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListUnshift(SzList **ppList, const char *sz) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzListRemove(SzList *pList, int index) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzListShift(SzList *pList) VELKC_NOEXCEPT;
VELKC_API char *VELKCSzListPop(SzList *pList) VELKC_NOEXCEPT;
VELKC_API void VELKCSzListRemoveAll(SzList *pList) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListFind(const SzList *pList, const char *sz) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListCaseFind(const SzList *pList, const char *sz) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListFindIndex(const SzList *pList, int hi, int lo, const char *sz, int caseless) VELKC_NOEXCEPT;
VELKC_API void VELKCSzListSortItems(SzList *pList, int mode) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListStrcmp(const void *ppszA, const void *ppszB) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListUTF8StrCasecmp(const void *ppszA, const void *ppszB) VELKC_NOEXCEPT;
VELKC_API int VELKCSzListClean(SzList *pList) VELKC_NOEXCEPT;
VELKC_API SzList *VELKCISzListExpand(SzList *pList) VELKC_NOEXCEPT;
VELKC_API SzList *VELKCSzListAnd(SzList *pList1, SzList *pList2, int flag) VELKC_NOEXCEPT;
VELKC_API SzList *VELKCSzListOr(SzList **ppList1, SzList *pList2, int flag) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_LIST_H */
