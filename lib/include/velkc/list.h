/**
 * @file velkc/list.h
 * @brief SzList: an array of strings kept in one heap block.
 *
 * The list owns a copy of every string put into it. Functions that may grow
 * a list take the address of the caller's handle (SzList **): growth moves
 * the list to a new block, stores the new address there and frees the old
 * block, so every other pointer to the old block or into it is then stale.
 * Strings returned by the list point into its block: they must not be
 * freed, and they stay valid until the list is grown, emptied or freed.
 *
 * A slot may hold a hole: it reads as "" but the find and combine functions
 * treat it as absent (an inserted "" is a real item, not a hole). Inserting
 * beyond the end leaves holes in the gap.
 */
#ifndef VELKC_LIST_H
#define VELKC_LIST_H

#include <velkc/export.h>

#define OP_UNSORTED 0        /**< Sort mode: items in insertion order. */
#define OP_SORTED 1          /**< Sort mode: byte order (strcmp). */
#define OP_UNICODE_SORTED 16 /**< Sort mode: caseless UTF-8 order (VELKCUnicodeUTF8StrCaseCmp). */
#define OP_NEW_LIST 4096     /**< VELKCSzListAnd / VELKCSzListOr flag: return a new list, leave the inputs alone. */

/**
 * The list block: this 32-byte header, the item slots growing upward after
 * it, and the strings packed downward from the block's end. Read the fields;
 * change the list only through the functions.
 */
VELKC_EXTENSION typedef struct SzList {
    int cbSize;      /**< Size of the block in bytes. */
    int nItem;       /**< Number of slots in use, holes included. */
    int cbFree;      /**< Bytes free between the slots and the strings. */
    int fMode;       /**< OP_UNSORTED, OP_SORTED or OP_UNICODE_SORTED. */
    char *pszStrEnd; /**< Lowest byte of the string area. */
    char *pszEmpty;  /**< The NUL that every hole points at. */
    char *pszItem[]; /**< The nItem items, in list order. */
} SzList;

VELKC_BEGIN_DECLS

/**
 * Allocates an empty, unsorted list.
 * @param size  Size of the block in bytes; values below 512 (negative ones
 *              included) give 512.
 * @return The list, to be freed with VELKCSzListFree(); NULL on failure
 *         (ERR_OUT_OF_MEMORY).
 */
VELKC_API SzList *VELKCSzListAlloc(int size) VELKC_NOEXCEPT;

/**
 * Frees a list and the strings in it.
 * @param pList  The list; NULL is ignored.
 */
VELKC_API void VELKCSzListFree(SzList *pList) VELKC_NOEXCEPT;

/**
 * The item at an index.
 * @param pList  The list.
 * @param index  0 to nItem - 1.
 * @return The item, inside the list ("" for a hole); NULL on failure
 *         (ERR_BAD_PARAMETERS: null list or index out of range).
 */
VELKC_API char *VELKCSzListGet(const SzList *pList, int index) VELKC_NOEXCEPT;

/**
 * Inserts a copy of a string.
 *
 * In an unsorted list the copy goes to @p index and the items from there on
 * move up one; an index beyond the end fills the gap with holes. In a
 * sorted list @p index is ignored and the copy goes to its sorted place,
 * before an equal item. May move the list (see the file description).
 * @param ppList  Address of the caller's handle; updated when the list moves.
 * @param index   Position, at least 0.
 * @param sz      The string; it may point into the list itself.
 * @return The index at which the copy was stored; -1 on failure, with the
 *         list unchanged: ERR_BAD_PARAMETERS (ppList, *ppList or sz null,
 *         index negative), ERR_OUT_OF_MEMORY (growth failed).
 */
VELKC_API int VELKCSzListInsert(SzList **ppList, int index, const char *sz) VELKC_NOEXCEPT;

/**
 * Appends a copy of a string: VELKCSzListInsert() at index nItem.
 * @param ppList  Address of the caller's handle; updated when the list moves.
 * @param sz      The string.
 * @return As VELKCSzListInsert().
 */
VELKC_API int VELKCSzListPush(SzList **ppList, const char *sz) VELKC_NOEXCEPT;

/**
 * Inserts a copy of a string at the front: VELKCSzListInsert() at index 0.
 * @param ppList  Address of the caller's handle; updated when the list moves.
 * @param sz      The string.
 * @return As VELKCSzListInsert().
 */
VELKC_API int VELKCSzListUnshift(SzList **ppList, const char *sz) VELKC_NOEXCEPT;

/**
 * Takes the item at an index out of the list; later items move down one.
 * @param pList  The list.
 * @param index  0 to nItem - 1.
 * @return The removed string ("" for a hole), still inside the block, whose
 *         bytes are not reused until the list is grown, emptied or freed;
 *         NULL on failure (ERR_BAD_PARAMETERS: null list, or index out of
 *         range, as in an empty list).
 */
VELKC_API char *VELKCSzListRemove(SzList *pList, int index) VELKC_NOEXCEPT;

/**
 * Removes the first item: VELKCSzListRemove() at index 0.
 * @param pList  The list.
 * @return As VELKCSzListRemove().
 */
VELKC_API char *VELKCSzListShift(SzList *pList) VELKC_NOEXCEPT;

/**
 * Removes the last item: VELKCSzListRemove() at index nItem - 1.
 * @param pList  The list.
 * @return As VELKCSzListRemove().
 */
VELKC_API char *VELKCSzListPop(SzList *pList) VELKC_NOEXCEPT;

/**
 * Empties a list, keeping its block and its sort mode. Strings taken from it
 * before are stale afterwards.
 * @param pList  The list; NULL is ignored.
 */
VELKC_API void VELKCSzListRemoveAll(SzList *pList) VELKC_NOEXCEPT;

/**
 * Finds an item equal byte for byte: by binary search in an OP_SORTED list,
 * else by a scan that returns the first match. Holes never match.
 * @param pList  The list; not OP_UNICODE_SORTED, whose order would mislead
 *               the search.
 * @param sz     The string sought.
 * @return The item's index, or -1 when absent (no error); -1 also on failure
 *         (ERR_BAD_PARAMETERS: null argument or OP_UNICODE_SORTED list).
 */
VELKC_API int VELKCSzListFind(const SzList *pList, const char *sz) VELKC_NOEXCEPT;

/**
 * Finds an item equal ignoring case (VELKCUnicodeUTF8StrCaseCmp()): by binary
 * search in an OP_UNICODE_SORTED list, else by a scan that returns the first
 * match. Holes never match; a comparison that fails (malformed UTF-8) counts
 * as no match and leaves its code in the error record.
 * @param pList  The list; not OP_SORTED, whose order would mislead the
 *               search.
 * @param sz     The string sought.
 * @return The item's index, or -1 when absent; -1 also on failure
 *         (ERR_BAD_PARAMETERS: null argument or OP_SORTED list).
 */
VELKC_API int VELKCSzListCaseFind(const SzList *pList, const char *sz) VELKC_NOEXCEPT;

/**
 * Binary search over the slots @p lo to @p hi, which must be sorted in the
 * order asked for; holes are not skipped.
 * @param pList     The list.
 * @param hi        Last slot searched (nItem - 1 for the whole list; -1 for
 *                  an empty range).
 * @param lo        First slot searched.
 * @param sz        The string sought.
 * @param caseless  Non-zero: compare with VELKCUnicodeUTF8StrCaseCmp();
 *                  0: with strcmp. A failed caseless comparison ends the
 *                  search at the current lower bound.
 * @return The index of an equal item, or the complement (~) of the index at
 *         which @p sz would be inserted; -1 for a null argument (no error).
 */
VELKC_API int VELKCSzListFindIndex(const SzList *pList, int hi, int lo, const char *sz, int caseless) VELKC_NOEXCEPT;

/**
 * Sorts a list and sets its sort mode.
 *
 * Only a list that is OP_UNSORTED now is sorted: with OP_SORTED in @p mode
 * by byte order, else with OP_UNICODE_SORTED caseless; holes are removed
 * first. An already sorted list is not re-sorted, only given the new mode.
 * @param pList  The list; NULL is ignored.
 * @param mode   The new fMode; OP_UNSORTED marks the list unsorted without
 *               touching its items.
 */
VELKC_API void VELKCSzListSortItems(SzList *pList, int mode) VELKC_NOEXCEPT;

/**
 * qsort() comparator of items in byte order.
 * @param ppszA  Address of the first item pointer (char *const *).
 * @param ppszB  Address of the second item pointer.
 * @return strcmp() of the two items.
 */
VELKC_API int VELKCSzListStrcmp(const void *ppszA, const void *ppszB) VELKC_NOEXCEPT;

/**
 * qsort() comparator of items in caseless UTF-8 order.
 * @param ppszA  Address of the first item pointer (char *const *).
 * @param ppszB  Address of the second item pointer.
 * @return VELKCUnicodeUTF8StrCaseCmp() of the two items: -1, 0 or 1, or -2
 *         when the comparison fails (with its error code recorded).
 */
VELKC_API int VELKCSzListUTF8StrCasecmp(const void *ppszA, const void *ppszB) VELKC_NOEXCEPT;

/**
 * Removes every hole, keeping the items in order. The list does not move.
 * @param pList  The list.
 * @return The new nItem; 0 for a null list.
 */
VELKC_API int VELKCSzListClean(SzList *pList) VELKC_NOEXCEPT;

/**
 * The items of @p pList1 that also occur in @p pList2; holes are ignored.
 *
 * With @p flag OP_NEW_LIST the result is a new list that the caller frees,
 * and both inputs stay as they are. With 0 the work is done in place: list1
 * is cleaned of holes, loses the items list2 lacks, and is returned (it
 * only shrinks, so it never moves). Any other flag returns list1 cleaned but
 * otherwise unchanged.
 *
 * How items are matched, and the new list's mode:
 * - list2 unsorted: each list1 item against all of list2, byte for byte;
 *   a new list gets list2's equal item once per match; OP_UNSORTED.
 * - list1 unsorted, list2 sorted: each list1 item looked up in list2 with
 *   VELKCSzListFind() or VELKCSzListCaseFind() by list2's mode; OP_UNSORTED.
 * - both sorted alike: one merge walk in that order; list1's mode.
 * @param pList1  First list; changed in place unless @p flag is OP_NEW_LIST.
 * @param pList2  Second list; only read.
 * @param flag    OP_NEW_LIST or 0 (see above).
 * @return The result; NULL on failure: ERR_BAD_PARAMETERS (a null list, or
 *         two sorted lists of different modes), ERR_OUT_OF_MEMORY, or the
 *         code of a failed caseless comparison. A new list is then freed;
 *         in place, list1 may be partly changed.
 */
VELKC_API SzList *VELKCSzListAnd(SzList *pList1, const SzList *pList2, int flag) VELKC_NOEXCEPT;

/**
 * The items of both lists, those of @p pList2 only when not present already;
 * holes are ignored.
 *
 * With @p flag OP_NEW_LIST the result is a new list that the caller frees,
 * and both inputs stay as they are. With 0 the work is done in place: list1
 * is cleaned of holes and extended, which may move it (*ppList1 is updated),
 * and is returned. Any other flag works in place but never removes a list1
 * item (see the first case).
 *
 * Order and mode of the result:
 * - list1 unsorted, list2 sorted: a new list holds list2's items, then
 *   list1's items missing from list2; in place, list1 keeps its items not
 *   in list2, followed by all of list2's. OP_UNSORTED.
 * - list2 unsorted: list1's items, then each list2 item not found in the
 *   result (from an unsorted list1, a new list searches list1 alone, so an
 *   item repeated in list2 is added each time). A new list is OP_UNSORTED;
 *   in place, a sorted list1 is re-sorted in its mode.
 * - both sorted alike: merged, then sorted and given that mode.
 * @param ppList1  Address of the caller's handle of the first list.
 * @param pList2   Second list; only read.
 * @param flag     OP_NEW_LIST or 0 (see above).
 * @return The result; NULL on failure: ERR_BAD_PARAMETERS (a null list or
 *         handle, or two sorted lists of different modes), ERR_OUT_OF_MEMORY,
 *         or the code of a failed caseless comparison. A new list is then
 *         freed; in place, list1 may be partly changed.
 */
VELKC_API SzList *VELKCSzListOr(SzList **ppList1, const SzList *pList2, int flag) VELKC_NOEXCEPT;

/**
 * @name Internal, for the library's own use and its tests
 * @{
 */

/**
 * Moves a list into a new block of twice the size, strings repacked in item
 * order, and frees the old block.
 * @param pList  The list.
 * @return The new list; NULL on failure (ERR_OUT_OF_MEMORY, also for a null
 *         list or a size that would overflow), with @p pList untouched.
 */
VELKC_API SzList *VELKCISzListExpand(SzList *pList) VELKC_NOEXCEPT;

/** @} */

VELKC_END_DECLS

#endif /* VELKC_LIST_H */
