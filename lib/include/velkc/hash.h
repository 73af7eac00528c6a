/**
 * @file velkc/hash.h
 * @brief SzHash: a string-to-string table with open addressing in one heap
 * block.
 *
 * The table owns copies of every key and value. VELKCSzHashSetValue() may
 * move the table to a larger block: it takes the address of the caller's
 * handle, stores the new address there and frees the old block, so every
 * other pointer to the old block or into it is then stale. Values returned
 * by lookups point into the table: they must not be freed, and they stay
 * valid until the next VELKCSzHashSetValue() (which may move the table or
 * overwrite the value), VELKCHashRemoveAll() or VELKCSzHashFree().
 *
 * Pairs are kept in slot order, not insertion order. Only
 * VELKCSzHashPairNum() records an error for a null argument; the others
 * report it by their result alone.
 */
#ifndef VELKC_HASH_H
#define VELKC_HASH_H

#include <velkc/export.h>
#include <velkc/list.h>

/**
 * One slot: empty (both null), live (both set) or removed (key null, value
 * left set).
 */
typedef struct SzHashSlot {
    char *pszKey; /**< The key's copy, or NULL. */
    char *pszVal; /**< The value's copy, or NULL. */
} SzHashSlot;

/**
 * The table block: this header, nSlot slots, cbSpace bytes of strings, then
 * a private index of the slots. Read the fields and slots; change the table
 * only through the functions, which keep the index in step.
 */
VELKC_EXTENSION typedef struct SzHash {
    int cbSpace;         /**< Capacity of the string area in bytes. */
    int cbFree;          /**< Bytes of the string area not yet handed out. */
    int nSlot;           /**< Number of slots. */
    int nPair;           /**< Number of live pairs. */
    char *pchNext;       /**< Next free byte of the string area. */
    SzHashSlot rgSlot[]; /**< The nSlot slots. */
} SzHash;

VELKC_BEGIN_DECLS

/**
 * Allocates an empty table with 31 slots.
 * @param cbInitSpace  Size of the string area in bytes; values below 512
 *                     (negative ones included) give 512.
 * @return The table, to be freed with VELKCSzHashFree(); NULL on failure
 *         (ERR_OUT_OF_MEMORY).
 */
VELKC_API SzHash *VELKCSzHashAlloc(int cbInitSpace) VELKC_NOEXCEPT;

/**
 * Frees a table and the strings in it.
 * @param pHash  The table; NULL is ignored.
 */
VELKC_API void VELKCSzHashFree(SzHash *pHash) VELKC_NOEXCEPT;

/**
 * Inserts a pair, or replaces the value of a key already present.
 *
 * A value no longer than the current one overwrites it in place; a longer
 * one is stored anew. May move the table (see the file description).
 * @param ppHash   Address of the caller's handle; updated when the table
 *                 moves.
 * @param szKey    The key; it may point into the table itself.
 * @param szValue  The value; it may point into the table itself.
 * @return The index of the slot that now holds the key; -1 on failure, with
 *         the table and *ppHash unchanged: a null argument (no error
 *         recorded), or ERR_OUT_OF_MEMORY.
 */
VELKC_API int VELKCSzHashSetValue(SzHash **ppHash, const char *szKey, const char *szValue) VELKC_NOEXCEPT;

/**
 * Looks a key up.
 * @param pHash  The table.
 * @param szKey  The key.
 * @return The value, inside the table; NULL when the key is absent or an
 *         argument is null (no error recorded).
 */
VELKC_API char *VELKCSzHashGetValue(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;

/**
 * Removes a pair. Its bytes are not reclaimed until the table grows.
 * @param pHash  The table.
 * @param szKey  The key.
 * @return The removed value, still inside the table and valid until the
 *         table next changes; NULL when the key is absent or an argument is
 *         null (no error recorded).
 */
VELKC_API char *VELKCSzHashRemoveKey(SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;

/**
 * Empties a table, keeping its block; the string area is handed out anew.
 * Slots that held pairs stay removed (tombstones) until the table next
 * grows, so lookups still probe through them.
 * @param pHash  The table; NULL is ignored.
 */
VELKC_API void VELKCHashRemoveAll(SzHash *pHash) VELKC_NOEXCEPT;

/**
 * The number of pairs.
 * @param pHash  The table.
 * @return nPair; -1 for a null table (ERR_BAD_PARAMETERS).
 */
VELKC_API int VELKCSzHashPairNum(const SzHash *pHash) VELKC_NOEXCEPT;

/**
 * The number of pairs, like VELKCSzHashPairNum() but silent.
 * @param pHash  The table.
 * @return nPair; -1 for a null table (no error recorded).
 */
VELKC_API int VELKCSzHashGetLength(const SzHash *pHash) VELKC_NOEXCEPT;

/**
 * Counts the keys and appends a copy of each to a list, in slot order.
 * @param pHash   The table.
 * @param ppList  Address of the caller's list handle, updated when the list
 *                moves (see VELKCSzListPush()); NULL only counts.
 * @return The number of keys; 0 for an empty table, whose list is left
 *         alone; -1 for a null table (no error recorded) or when an append
 *         fails (its code recorded; the keys appended before stay).
 */
VELKC_API int VELKCSzHashEnumKey(const SzHash *pHash, SzList **ppList) VELKC_NOEXCEPT;

/**
 * @name Internal, for the library's own use and its tests
 * These build the public functions above. A caller that writes a pair into
 * a slot other than where the lookup would put it keeps the table correct
 * but slower.
 * @{
 */

/**
 * Allocates an empty, zero-filled table of the given sizes.
 * @param nSlot    Number of slots, at least 1.
 * @param cbSpace  Size of the string area, at least 0.
 * @return The table; NULL on failure: ERR_BAD_PARAMETERS (sizes out of
 *         range), ERR_OUT_OF_MEMORY.
 */
VELKC_API SzHash *VELKCIHashAllocator(int nSlot, int cbSpace) VELKC_NOEXCEPT;

/**
 * Checks the table's slot index, the accelerator beside its slots, against
 * the slots: rebuilt from them, it must hold what it holds.
 * @param pHash  The table.
 * @return 1 when it does, 0 when not; -1 on failure: ERR_BAD_PARAMETERS
 *         (pHash null).
 */
VELKC_API int VELKCISzHashIndexCheck(const SzHash *pHash) VELKC_NOEXCEPT;

/**
 * The home slot of a key: the sum, with 32-bit wrap-around, of its
 * little-endian 32-bit words (the last one padded with zero bytes), modulo
 * @p nSlot.
 * @param sz     The key.
 * @param nSlot  Number of slots.
 * @return The home slot; -1 for a null key or 0 slots.
 */
VELKC_API int VELKCRadixHashCode(const char *sz, unsigned int nSlot) VELKC_NOEXCEPT;

/**
 * Lookup for reading.
 * @param pHash  The table.
 * @param szKey  The key.
 * @return The index of the live slot holding the key; -1 when it is absent
 *         or an argument is null.
 */
VELKC_API int VELKCGetLookDict(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;

/**
 * Lookup for writing.
 * @param pHash  The table.
 * @param szKey  The key.
 * @return The key's live slot; else the slot a new key goes to: an empty
 *         home slot, or the first keyless slot met while probing from it (a
 *         removed home slot is never chosen); -1 when there is none or an
 *         argument is null.
 */
VELKC_API int VELKCSetLookDict(const SzHash *pHash, const char *szKey) VELKC_NOEXCEPT;

/**
 * Makes room for one more pair of @p cbNeed bytes. The table grows when
 * fewer than a quarter of its slots are free (to 4 * nSlot - 5 slots) or
 * when cbFree <= @p cbNeed (string area enlarged).
 * @param pHash   The table.
 * @param cbNeed  Bytes of the new key and value, NULs included.
 * @return The same table when it has room; else a larger copy, the old
 *         block being freed; NULL on failure with the table untouched: a
 *         null table (no error recorded), ERR_OUT_OF_MEMORY (also for a
 *         negative @p cbNeed or sizes beyond INT_MAX).
 */
VELKC_API SzHash *VELKCICheckSpace(SzHash *pHash, int cbNeed) VELKC_NOEXCEPT;

/**
 * Copies the live pairs, compacted, into a new block of the given sizes and
 * frees the old one. Pairs that the new sizes cannot hold are dropped.
 * @param pHash    The table.
 * @param nSlot    Slots of the new block.
 * @param cbSpace  String area of the new block.
 * @return The new table; NULL on failure with the table untouched: a null
 *         table (no error recorded), or the code of VELKCIHashAllocator().
 */
VELKC_API SzHash *VELKCVELKIReSizeHash(SzHash *pHash, int nSlot, int cbSpace) VELKC_NOEXCEPT;

/**
 * Inserts every live pair of @p pSrc, in slot order, into @p pDst (normally
 * empty), which does not grow: pairs it has no slot or space for are
 * skipped. A null argument does nothing.
 * @param pSrc  Table read.
 * @param pDst  Table written.
 */
VELKC_API void VELKCCopyHash(const SzHash *pSrc, SzHash *pDst) VELKC_NOEXCEPT;

/**
 * Writes a new pair into slot *@p pIdx after making room with
 * VELKCICheckSpace(); when the table moves, *@p pIdx is looked up again.
 * @param pHash    The table.
 * @param szKey    The key, not in the table.
 * @param szValue  The value.
 * @param pIdx     In: the slot from VELKCSetLookDict(); out: the slot used.
 * @return The table holding the pair, maybe a new block (the old one is
 *         then freed); NULL on failure with the table untouched: a null
 *         argument (no error recorded), or the code of VELKCICheckSpace().
 *         A slot outside the table writes nothing.
 */
VELKC_API SzHash *VELKCInsertNewPair(SzHash *pHash, const char *szKey, const char *szValue, int *pIdx) VELKC_NOEXCEPT;

/**
 * Writes a pair into slot @p idx without growing the table. Nothing is
 * written, and no error recorded, for a null argument, a slot outside the
 * table, or a pair whose bytes exceed cbFree.
 * @param pHash    The table.
 * @param szKey    The key.
 * @param szValue  The value.
 * @param idx      The slot.
 */
VELKC_API void VELKCInsertPair(SzHash *pHash, const char *szKey, const char *szValue, int idx) VELKC_NOEXCEPT;

/**
 * Replaces the value of the live slot *@p pIdx: in place when the new value
 * is no longer, else stored anew after making room with VELKCICheckSpace()
 * (the old bytes are abandoned); when the table moves, *@p pIdx is looked up
 * again.
 * @param pHash    The table.
 * @param szKey    The slot's key.
 * @param szValue  The new value.
 * @param pIdx     In: the key's slot; out: the slot in the returned table.
 * @return The table holding the value, maybe a new block (the old one is
 *         then freed); NULL on failure with the table untouched: a null
 *         argument or a slot that is not live (no error recorded), or the
 *         code of VELKCICheckSpace().
 */
VELKC_API SzHash *VELKCVELKIUpdateValue(SzHash *pHash, const char *szKey, const char *szValue,
                                        int *pIdx) VELKC_NOEXCEPT;

/** @} */

VELKC_END_DECLS

#endif /* VELKC_HASH_H */
