/**
 * @file velkc/hashset.h
 * @brief SzHashSet: a set of distinct strings in one heap block.
 *
 * The set owns a copy of every item. VELKCSzHashSetAdd() may move the set to
 * a larger block: it takes the address of the caller's handle, stores the
 * new address there and frees the old block, so every other pointer to the
 * old block or into it is then stale. Items are kept in slot order, not
 * insertion order.
 */
#ifndef VELKC_HASHSET_H
#define VELKC_HASHSET_H

#include <velkc/export.h>
#include <velkc/list.h>

/**
 * One slot: empty (NULL, 0), live (set, 1) or removed (NULL, 1).
 */
typedef struct SzHashSetSlot {
    char *pszKey; /**< The item's copy, or NULL. */
    int fUsed;    /**< 1 once an item was stored in the slot; never cleared by a removal. */
} SzHashSetSlot;

/**
 * The set block: this header, nSlot slots, cbSpace bytes of strings, then a
 * private index of the slots. Read the fields and slots; change the set only
 * through the functions, which keep the index in step.
 */
VELKC_EXTENSION typedef struct SzHashSet {
    int cbSpace;            /**< Capacity of the string area in bytes. */
    int cbFree;             /**< Bytes of the string area not yet handed out. */
    int nSlot;              /**< Number of slots. */
    int nItem;              /**< Number of items. */
    char *pchNext;          /**< Next free byte of the string area. */
    SzHashSetSlot rgSlot[]; /**< The nSlot slots. */
} SzHashSet;

VELKC_BEGIN_DECLS

/**
 * Allocates an empty set with 31 slots.
 * @param cbInitSpace  Size of the string area in bytes; values below 512
 *                     (negative ones included) give 512.
 * @return The set, to be freed with VELKCSzHashSetFree(); NULL on failure
 *         (ERR_OUT_OF_MEMORY).
 */
VELKC_API SzHashSet *VELKCSzHashSetAlloc(int cbInitSpace) VELKC_NOEXCEPT;

/**
 * Frees a set and the strings in it.
 * @param pSet  The set; NULL is ignored.
 */
VELKC_API void VELKCSzHashSetFree(SzHashSet *pSet) VELKC_NOEXCEPT;

/**
 * Adds a copy of an item unless it is present. Before adding, the set is
 * rebuilt in a larger block when fewer than a quarter of its slots are free
 * or its string area is short, which moves it (see the file description).
 * @param ppSet   Address of the caller's handle; updated when the set moves.
 * @param szItem  The item; it may point into the set itself.
 * @return 0 when the item is in the set afterwards (also when it was
 *         already); -1 on failure, with the set and *ppSet unchanged:
 *         ERR_BAD_PARAMETERS (ppSet, *ppSet or szItem null),
 *         ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCSzHashSetAdd(SzHashSet **ppSet, const char *szItem) VELKC_NOEXCEPT;

/**
 * Tests whether an item is in the set.
 * @param pSet    The set.
 * @param szItem  The item.
 * @return 1 if present, else 0; 0 also for a null argument (no error
 *         recorded).
 */
VELKC_API int VELKCSzHashSetContains(const SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;

/**
 * Removes an item; removing an absent item is no error. Its bytes are not
 * reclaimed until the set is rebuilt.
 * @param pSet    The set.
 * @param szItem  The item.
 * @return 0; -1 for a null argument (ERR_BAD_PARAMETERS).
 */
VELKC_API int VELKCSzHashSetRemove(SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;

/**
 * Empties a set completely, removed slots included, keeping its block.
 * @param pSet  The set; NULL is ignored.
 */
VELKC_API void VELKCSzHashSetRemoveAll(SzHashSet *pSet) VELKC_NOEXCEPT;

/**
 * The number of items.
 * @param pSet  The set.
 * @return nItem; -1 for a null set (ERR_BAD_PARAMETERS).
 */
VELKC_API int VELKCSzHashSetItemNum(const SzHashSet *pSet) VELKC_NOEXCEPT;

/**
 * Appends a copy of every item to a list, in slot order.
 * @param pSet    The set.
 * @param ppList  Address of the caller's list handle, updated when the list
 *                moves (see VELKCSzListPush()).
 * @return 0 (not a count), also for an empty set, whose list is left alone;
 *         -1 on failure: ERR_BAD_PARAMETERS (pSet, ppList or *ppList null),
 *         or the code of a failed append (the items appended before stay).
 */
VELKC_API int VELKCSzHashSetToList(const SzHashSet *pSet, SzList **ppList) VELKC_NOEXCEPT;

/**
 * @name Internal, for the library's own use and its tests
 * @{
 */

/**
 * Checks the set's slot index, the accelerator beside its slots, against
 * the slots: rebuilt from them, it must hold what it holds.
 * @param pSet  The set.
 * @return 1 when it does, 0 when not; -1 on failure: ERR_BAD_PARAMETERS
 *         (pSet null).
 */
VELKC_API int VELKCISzHashSetIndexCheck(const SzHashSet *pSet) VELKC_NOEXCEPT;

/**
 * Allocates an empty, zero-filled set of the given sizes.
 * @param nSlot    Number of slots, at least 1.
 * @param cbSpace  Size of the string area, at least 0.
 * @return The set; NULL on failure: ERR_BAD_PARAMETERS (sizes out of
 *         range), ERR_OUT_OF_MEMORY.
 */
VELKC_API SzHashSet *VELKCSzHashSetAllocator(int nSlot, int cbSpace) VELKC_NOEXCEPT;

/**
 * The set's one lookup, for adding, testing and removing.
 * @param pSet    The set.
 * @param szItem  The item.
 * @return The item's slot (its pszKey is set); else the slot the item would
 *         go to (pszKey NULL): an empty home slot, or the first keyless slot
 *         met while probing from it; -1 when there is none or an argument is
 *         null.
 */
VELKC_API int VELKCSzHashSetLookDict(const SzHashSet *pSet, const char *szItem) VELKC_NOEXCEPT;

/** @} */

VELKC_END_DECLS

#endif /* VELKC_HASHSET_H */
