/**
 * @file velkc/containers.hpp
 * @brief velkc::List, velkc::Hash and velkc::HashSet: owning handles of the library's containers.
 */
#ifndef VELKC_CONTAINERS_HPP
#define VELKC_CONTAINERS_HPP

#include <velkc/hash.h>
#include <velkc/hashset.h>
#include <velkc/list.h>
#include <velkc/result.hpp>
#include <velkc/unicode.h>

#include <climits>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace velkc {

namespace detail {

/**
 * @brief Input iterator over the live slots of a block; Slots says what a
 *        slot is, whether it is live and what it reads as.
 */
template <class Slots>
class SlotIterator {
public:
    using slot_type = typename Slots::slot_type;
    using value_type = typename Slots::value_type;
    using reference = value_type;
    using pointer = void;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    using iterator_concept = std::forward_iterator_tag;

    /** An iterator of no container; equal to another such. */
    SlotIterator() noexcept = default;

    /**
     * @param at the first slot to visit.
     * @param end one past the last slot.
     */
    SlotIterator(const slot_type *at, const slot_type *end) noexcept : at_(at), end_(end) { skip_dead(); }

    /** @return the current element, as views into the block. */
    value_type operator*() const noexcept { return Slots::read(*at_); }

    /** @return this iterator, moved to the next live slot. */
    SlotIterator &operator++() noexcept
    {
        ++at_;
        skip_dead();
        return *this;
    }

    /** @return a copy of this iterator from before the move. */
    SlotIterator operator++(int) noexcept
    {
        SlotIterator before = *this;
        ++*this;
        return before;
    }

    /** @return whether both stand at the same slot. */
    friend bool operator==(const SlotIterator &a, const SlotIterator &b) noexcept { return a.at_ == b.at_; }
    /** @return whether they stand at different slots. */
    friend bool operator!=(const SlotIterator &a, const SlotIterator &b) noexcept { return a.at_ != b.at_; }

private:
    void skip_dead() noexcept
    {
        while (at_ != end_ && !Slots::live(*at_)) {
            ++at_;
        }
    }

    const slot_type *at_ = nullptr;
    const slot_type *end_ = nullptr;
};

// What a container handle needs to know of its C block: how to allocate
// and free it, where its slots are, which are live and what they read as.

/** The item slots of a list: every slot is an item (a hole reads as ""). */
struct ListSlots {
    using block_type = SzList;
    using slot_type = char *;
    using value_type = std::string_view;
    static SzList *allocate(int bytes) noexcept { return VELKCSzListAlloc(bytes); }
    static void release(SzList *list) noexcept { VELKCSzListFree(list); }
    static char *const *slots(const SzList &list) noexcept { return list.pszItem; }
    static int slot_count(const SzList &list) noexcept { return list.nItem; }
    static int size(const SzList &list) noexcept { return list.nItem; }
    static bool live(char *const &) noexcept { return true; }
    static value_type read(char *const &item) noexcept { return item; }
};

/** The slots of a hash table: live ones hold a key and its value. */
struct HashSlots {
    using block_type = SzHash;
    using slot_type = SzHashSlot;
    using value_type = std::pair<std::string_view, std::string_view>;
    static SzHash *allocate(int bytes) noexcept { return VELKCSzHashAlloc(bytes); }
    static void release(SzHash *hash) noexcept { VELKCSzHashFree(hash); }
    static const SzHashSlot *slots(const SzHash &hash) noexcept { return hash.rgSlot; }
    static int slot_count(const SzHash &hash) noexcept { return hash.nSlot; }
    static int size(const SzHash &hash) noexcept { return hash.nPair; }
    static bool live(const SzHashSlot &slot) noexcept { return slot.pszKey != nullptr; }
    static value_type read(const SzHashSlot &slot) noexcept { return {slot.pszKey, slot.pszVal}; }
};

/** The slots of a hash set: live ones hold an item. */
struct SetSlots {
    using block_type = SzHashSet;
    using slot_type = SzHashSetSlot;
    using value_type = std::string_view;
    static SzHashSet *allocate(int bytes) noexcept { return VELKCSzHashSetAlloc(bytes); }
    static void release(SzHashSet *set) noexcept { VELKCSzHashSetFree(set); }
    static const SzHashSetSlot *slots(const SzHashSet &set) noexcept { return set.rgSlot; }
    static int slot_count(const SzHashSet &set) noexcept { return set.nSlot; }
    static int size(const SzHashSet &set) noexcept { return set.nItem; }
    static bool live(const SzHashSetSlot &slot) noexcept { return slot.pszKey != nullptr; }
    static value_type read(const SzHashSetSlot &slot) noexcept { return slot.pszKey; }
};

/** @return index as the C API's int, or nothing when it does not fit. */
inline std::optional<int> to_int(std::size_t index) noexcept
{
    return index <= static_cast<std::size_t>(INT_MAX) ? std::optional<int>(static_cast<int>(index)) : std::nullopt;
}

} // namespace detail

/**
 * @brief What List, Hash and HashSet share: sole ownership of one C block,
 *        moves, size and iteration.
 *
 * The handle holds the only pointer to its block and frees it exactly once.
 * It is move-only; a moved-from handle has no block, reads as empty and may
 * be used again or destroyed. A handle without a block gets one on its first
 * insertion.
 * @tparam Derived the container, which create() makes.
 * @tparam Slots one of detail::ListSlots, HashSlots, SetSlots.
 */
template <class Derived, class Slots>
class BlockHandle {
public:
    using block_type = typename Slots::block_type;      ///< The C record: SzList, SzHash or SzHashSet.
    using value_type = typename Slots::value_type;      ///< What iteration yields.
    using size_type = std::size_t;                      ///< Counts of items.
    using const_iterator = detail::SlotIterator<Slots>; ///< Iterates the items in slot order.
    using iterator = const_iterator;                    ///< Items are read-only through iteration.

    /** An empty container without a block; allocates none. */
    BlockHandle() noexcept = default;

    /**
     * @param owned a block from the C API (e.g. VELKCSzListAlloc), or null;
     *        the handle takes ownership and frees it.
     */
    explicit BlockHandle(block_type *owned) noexcept : block_(owned) {}

    /** @param other its block moves here; other is left without one. */
    BlockHandle(BlockHandle &&other) noexcept : block_(std::exchange(other.block_, nullptr)) {}

    /** @param other its block replaces this one's, which is freed. @return *this. */
    BlockHandle &operator=(BlockHandle &&other) noexcept
    {
        if (this != &other) {
            Slots::release(block_);
            block_ = std::exchange(other.block_, nullptr);
        }
        return *this;
    }

    BlockHandle(const BlockHandle &) = delete;
    BlockHandle &operator=(const BlockHandle &) = delete;

    /** Frees the block with the library's Free function. */
    ~BlockHandle() { Slots::release(block_); }

    /**
     * @param bytes the block's first size (of the string area for the hash
     *        containers); below 512 means 512.
     * @return a container that owns a new block, or errc::out_of_memory.
     */
    static Result<Derived> create(int bytes = 512) noexcept
    {
        block_type *block = Slots::allocate(bytes);
        if (block == nullptr) {
            return errc::out_of_memory;
        }
        return Derived(block);
    }

    /** @return the number of items (of pairs in a Hash). */
    size_type size() const noexcept { return block_ != nullptr ? static_cast<size_type>(Slots::size(*block_)) : 0; }

    /** @return whether there is none. */
    bool empty() const noexcept { return size() == 0; }

    /** @return an iterator to the first element, read as views into the block. */
    const_iterator begin() const noexcept
    {
        return block_ != nullptr ? const_iterator(Slots::slots(*block_), slots_end()) : const_iterator();
    }

    /** @return the iterator past the last element. */
    const_iterator end() const noexcept
    {
        return block_ != nullptr ? const_iterator(slots_end(), slots_end()) : const_iterator();
    }

    /** @return the block, still owned by the handle; null when it has none. */
    block_type *get() const noexcept { return block_; }

    /** @return the block, for reading its fields; the handle must have one. */
    block_type *operator->() const noexcept { return block_; }

    /**
     * @return the address of the handle's pointer, for C functions that grow
     *         the block (SzList **, SzHash **, SzHashSet **); they may replace
     *         it. Most of them want a block: make the container with create().
     */
    block_type **address() noexcept { return &block_; }

    /** @return the block, which the caller now owns and frees; the handle is left without one. */
    block_type *release() noexcept { return std::exchange(block_, nullptr); }

protected:
    /**
     * @brief Readies a change that may grow the block: the copies of its
     *        arguments were made, the handle has a block, and the error
     *        record is clear for the C call that follows.
     * @param copies the arguments of the change, copied for the C API.
     * @return an empty code when ready, else why not.
     */
    template <class... Copies>
    std::error_code ready_to_grow(const Copies &...copies) noexcept
    {
        std::error_code error = detail::first_error(copies...);
        detail::clear_record();
        if (!error && block_ == nullptr && (block_ = Slots::allocate(0)) == nullptr) {
            error = detail::recorded_failure();
        }
        return error;
    }

    block_type *block_ = nullptr; ///< The owned block, or null.

private:
    const typename Slots::slot_type *slots_end() const noexcept
    {
        return Slots::slots(*block_) + Slots::slot_count(*block_);
    }
};

/** @brief The order a List keeps its items in (the C sort modes). */
enum class Order : int {
    unsorted = OP_UNSORTED,       ///< insertion order
    bytewise = OP_SORTED,         ///< byte order (strcmp)
    caseless = OP_UNICODE_SORTED, ///< case-insensitive UTF-8 collation
};

/**
 * @brief An owning handle of an SzList: a list of strings in one block.
 *
 * Items read as std::string_view into the block (see the file comment for
 * how long they live). A sorted list (sort()) puts every new item at its
 * sorted place, whatever the position asked for, and searches in
 * logarithmic time. Positions beyond the end may be inserted at: the gap is
 * filled with holes, which read as "" and are never found. Ownership, moves,
 * size and iteration: see BlockHandle.
 */
class List : public BlockHandle<List, detail::ListSlots> {
public:
    using BlockHandle::BlockHandle;

    /** @return the order the list keeps; unsorted for a list without a block. */
    Order order() const noexcept { return block_ != nullptr ? static_cast<Order>(block_->fMode) : Order::unsorted; }

    /**
     * @param index a position below size().
     * @return the item there, a view into the block.
     */
    std::string_view operator[](size_type index) const noexcept
    {
        assert(index < size());
        return block_->pszItem[index];
    }

    /**
     * @param item the text to append; the list stores a copy.
     * @return the position it went to (its sorted place in a sorted list),
     *         or errc::out_of_memory, errc::bad_parameters.
     */
    Result<size_type> push_back(std::string_view item) noexcept
    {
        return add(item, [](SzList **list, const char *text) { return VELKCSzListPush(list, text); });
    }

    /**
     * @param item the text to put first; the list stores a copy.
     * @return as push_back().
     */
    Result<size_type> push_front(std::string_view item) noexcept
    {
        return add(item, [](SzList **list, const char *text) { return VELKCSzListUnshift(list, text); });
    }

    /**
     * @param index the position for the item; beyond size() the gap is
     *        filled with holes.
     * @param item the text to insert; the list stores a copy.
     * @return as push_back().
     */
    Result<size_type> insert(size_type index, std::string_view item) noexcept
    {
        const std::optional<int> at = detail::to_int(index);
        if (!at) {
            return errc::bad_parameters;
        }
        return add(item, [at](SzList **list, const char *text) { return VELKCSzListInsert(list, *at, text); });
    }

    /**
     * @param index the position of the item to remove.
     * @return the removed item, a view that stays valid until the list
     *         next grows or is cleared; nothing when index is not below size().
     */
    std::optional<std::string_view> erase(size_type index) noexcept
    {
        if (index >= size()) {
            return std::nullopt;
        }
        return std::string_view(VELKCSzListRemove(block_, static_cast<int>(index)));
    }

    /** @return as erase() of the last item; nothing for an empty list. */
    std::optional<std::string_view> pop_back() noexcept { return empty() ? std::nullopt : erase(size() - 1); }

    /** @return as erase() of the first item; nothing for an empty list. */
    std::optional<std::string_view> pop_front() noexcept { return erase(0); }

    /** Removes every item; keeps the block and the order. */
    void clear() noexcept { VELKCSzListRemoveAll(block_); }

    /**
     * @param item the text to look for, compared byte by byte.
     * @return the position of an equal item (the first, unless the list is
     *         sorted), or nothing.
     */
    std::optional<size_type> find(std::string_view item) const noexcept { return find_by(item, Order::bytewise); }

    /**
     * @param item the text to look for, compared without regard to case.
     * @return as find().
     */
    std::optional<size_type> find_caseless(std::string_view item) const noexcept
    {
        return find_by(item, Order::caseless);
    }

    /**
     * @brief Sorts the items and keeps them so; Order::unsorted only marks
     *        the list unsorted. Holes are dropped by a sort.
     *
     * Unlike VELKCSzListSortItems alone, a list sorted one way is re-sorted
     * when asked for the other.
     * @param how the order to sort into and keep.
     * @return an empty code, or errc::out_of_memory when a list without a
     *         block could not get one.
     */
    [[nodiscard]] std::error_code sort(Order how) noexcept
    {
        if (std::error_code error = ready_to_grow()) {
            return error;
        }
        if (order() != Order::unsorted && order() != how) {
            VELKCSzListSortItems(block_, OP_UNSORTED); // the library sorts unsorted lists only
        }
        VELKCSzListSortItems(block_, static_cast<int>(how));
        return {};
    }

private:
    template <class Insert>
    Result<size_type> add(std::string_view item, Insert insert) noexcept
    {
        const detail::CString text(item);
        if (std::error_code error = ready_to_grow(text)) {
            return error;
        }
        const int at = insert(&block_, text.c_str());
        if (at < 0) {
            return detail::recorded_failure();
        }
        return static_cast<size_type>(at);
    }

    // The library searches lists that are unsorted or sorted the way asked
    // for, and refuses the others; those are scanned here.
    std::optional<size_type> find_by(std::string_view item, Order how) const noexcept
    {
        const detail::CString text(item);
        if (block_ == nullptr || text.c_str() == nullptr) {
            return std::nullopt; // a text with a NUL byte is in no list
        }
        const bool caseless = how == Order::caseless;
        if (order() == Order::unsorted || order() == how) {
            const int at = caseless ? VELKCSzListCaseFind(block_, text.c_str()) : VELKCSzListFind(block_, text.c_str());
            return at < 0 ? std::nullopt : std::optional<size_type>(static_cast<size_type>(at));
        }
        for (size_type i = 0; i < size(); ++i) {
            const char *candidate = block_->pszItem[i];
            const bool equal = caseless ? VELKCUnicodeUTF8StrCaseCmp(candidate, text.c_str()) == 0
                                        : std::strcmp(candidate, text.c_str()) == 0;
            if (equal && candidate != block_->pszEmpty) {
                return i;
            }
        }
        return std::nullopt;
    }
};

/**
 * @brief An owning handle of an SzHash: a string-to-string table in one
 *        block.
 *
 * Iteration yields (key, value) pairs of std::string_view in the table's
 * slot order, not in insertion order. Setting a key may move the block or
 * overwrite the old value in place (see the file comment for lifetimes).
 * Ownership, moves, size and iteration: see BlockHandle.
 */
class Hash : public BlockHandle<Hash, detail::HashSlots> {
public:
    using BlockHandle::BlockHandle;

    /**
     * @param key the key to set; the table stores a copy.
     * @param value its new value; the table stores a copy.
     * @return an empty code, or errc::out_of_memory, errc::bad_parameters.
     *         On failure the table is as it was.
     */
    [[nodiscard]] std::error_code set(std::string_view key, std::string_view value) noexcept
    {
        const detail::CString k(key), v(value);
        if (std::error_code error = ready_to_grow(k, v)) {
            return error;
        }
        return detail::checked(VELKCSzHashSetValue(&block_, k.c_str(), v.c_str()));
    }

    /**
     * @param key the key to look up.
     * @return its value, a view into the block; nothing when the key is
     *         absent (or, for a key of 256 bytes or more, could not be
     *         copied for the lookup).
     */
    std::optional<std::string_view> find(std::string_view key) const noexcept
    {
        const detail::CString k(key);
        const char *value = k.c_str() != nullptr ? VELKCSzHashGetValue(block_, k.c_str()) : nullptr;
        return value != nullptr ? std::optional<std::string_view>(value) : std::nullopt;
    }

    /** @param key the key to look up. @return whether find() finds it. */
    bool contains(std::string_view key) const noexcept { return find(key).has_value(); }

    /**
     * @param key the key to remove.
     * @return whether it was there.
     */
    bool erase(std::string_view key) noexcept
    {
        const detail::CString k(key);
        return k.c_str() != nullptr && VELKCSzHashRemoveKey(block_, k.c_str()) != nullptr;
    }

    /** Removes every pair; keeps the block. */
    void clear() noexcept { VELKCHashRemoveAll(block_); }

    /**
     * @return a new list of the keys in slot order (sort it for another), or
     *         errc::out_of_memory.
     */
    Result<List> keys() const noexcept
    {
        Result<List> keys = List::create();
        detail::clear_record();
        if (keys && block_ != nullptr && VELKCSzHashEnumKey(block_, keys->address()) < 0) {
            return detail::recorded_failure();
        }
        return keys;
    }
};

/**
 * @brief An owning handle of an SzHashSet: a set of distinct strings in one
 *        block.
 *
 * Iteration yields the items as std::string_view in slot order. Ownership,
 * moves, size and iteration: see BlockHandle.
 */
class HashSet : public BlockHandle<HashSet, detail::SetSlots> {
public:
    using BlockHandle::BlockHandle;

    /**
     * @param item the text to add; the set stores a copy. Adding an item
     *        that is there already changes nothing.
     * @return an empty code, or errc::out_of_memory, errc::bad_parameters.
     *         On failure the set is as it was.
     */
    [[nodiscard]] std::error_code insert(std::string_view item) noexcept
    {
        const detail::CString text(item);
        if (std::error_code error = ready_to_grow(text)) {
            return error;
        }
        return detail::checked(VELKCSzHashSetAdd(&block_, text.c_str()));
    }

    /**
     * @param item the text to look for.
     * @return whether it is in the set (false also when an item of 256
     *         bytes or more could not be copied for the lookup).
     */
    bool contains(std::string_view item) const noexcept
    {
        const detail::CString text(item);
        return text.c_str() != nullptr && VELKCSzHashSetContains(block_, text.c_str()) == 1;
    }

    /**
     * @param item the text to remove.
     * @return whether it was there.
     */
    bool erase(std::string_view item) noexcept
    {
        const detail::CString text(item);
        return text.c_str() != nullptr && VELKCSzHashSetContains(block_, text.c_str()) == 1 &&
               VELKCSzHashSetRemove(block_, text.c_str()) == 0;
    }

    /** Removes every item; keeps the block. */
    void clear() noexcept { VELKCSzHashSetRemoveAll(block_); }

    /** @return a new list of the items in slot order, or errc::out_of_memory. */
    Result<List> to_list() const noexcept
    {
        Result<List> items = List::create();
        detail::clear_record();
        if (items && !empty() && VELKCSzHashSetToList(block_, items->address()) < 0) {
            return detail::recorded_failure();
        }
        return items;
    }
};

} // namespace velkc

#endif /* VELKC_CONTAINERS_HPP */
