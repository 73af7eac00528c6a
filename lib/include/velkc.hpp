/**
 * @file velkc.hpp
 * @brief C++17 interface to velkc: owning containers, std::error_code errors
 *        and configuration-file helpers over the C API of <velkc.h>.
 *
 * Header-only; link with libvelkc as for the C API.
 *
 * - Containers: velkc::List, velkc::Hash and velkc::HashSet each own one
 *   library block and free it exactly once. They are move-only; a moved-from
 *   handle is empty and safe to use or destroy. A handle without a block
 *   reads as empty and allocates one on its first insertion. Insertions may
 *   move the block, so a handle keeps the only pointer to it and hands the
 *   library its address.
 * - Lifetimes: every std::string_view, iterator or raw pointer obtained from
 *   a container points into its block and stays valid until the container
 *   is next changed (inserted into, erased from, sorted, cleared, moved
 *   from or destroyed). Copy what you keep, e.g. into a std::string.
 * - Errors: fallible calls return std::error_code or velkc::Result<T>,
 *   whose codes are the library's own (category "velkc", see velkc::errc).
 *   Each fallible call clears the calling thread's error record before it
 *   calls the library. Strings passed in as std::string_view are copied into
 *   NUL-terminated buffers (on the stack when short); a view that holds a
 *   NUL byte cannot be passed on and is refused with errc::bad_parameters.
 * - Exceptions: nothing here throws, and the header builds with
 *   -fno-exceptions. Functions are noexcept except those that build a
 *   std::string (velkc::file::get_value, Result::value_or of a string) and
 *   std::error_code::message(), which may throw std::bad_alloc (or abort
 *   without exceptions).
 * - Threads: as in C, one thread at a time per container.
 */
#ifndef VELKC_HPP
#define VELKC_HPP

#include <velkc.h>

#include <cassert>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace velkc {

/**
 * @brief The library's error codes, as recorded by its C functions.
 *
 * The values equal the C macros ERR_*; the names follow them in lower case.
 * Note that not_enough_memory means that a caller's buffer is too small and
 * out_of_memory that an allocation failed.
 */
enum class errc : unsigned int {
/** @cond */
#define VELKC_ERRC(name, cxx, text, meaning) cxx = name,
    VELKC_ERROR_CODES(VELKC_ERRC)
#undef VELKC_ERRC
    /** @endcond */
};

/**
 * @brief The error category of the library's codes: name "velkc", messages
 *        from VELKCErrString().
 *
 * Codes that have a portable meaning compare equal to std::errc values:
 * out_of_memory to std::errc::not_enough_memory, bad_parameters to
 * std::errc::invalid_argument, lock_timeout to std::errc::timed_out.
 */
class ErrorCategory final : public std::error_category {
public:
    /** @return "velkc". */
    const char *name() const noexcept override { return "velkc"; }

    /**
     * @param code a library error code.
     * @return its English description; may throw std::bad_alloc.
     */
    std::string message(int code) const override { return VELKCErrString(static_cast<unsigned int>(code)); }

    /**
     * @param code a library error code.
     * @return the portable condition of the code, or one of this category.
     */
    std::error_condition default_error_condition(int code) const noexcept override
    {
        switch (static_cast<errc>(code)) {
        case errc::out_of_memory:
            return std::make_error_condition(std::errc::not_enough_memory);
        case errc::bad_parameters:
            return std::make_error_condition(std::errc::invalid_argument);
        case errc::lock_timeout:
            return std::make_error_condition(std::errc::timed_out);
        default:
            return std::error_condition(code, *this);
        }
    }
};

/**
 * @brief The one ErrorCategory object of the program.
 *
 * Error categories compare by address: a shared object that is built with
 * hidden inline functions holds a category of its own.
 * @return the category of every code this header reports.
 */
inline const std::error_category &category() noexcept
{
    static const ErrorCategory instance;
    return instance;
}

/**
 * @param code a library error code.
 * @return the code as a std::error_code of velkc::category().
 */
inline std::error_code make_error_code(errc code) noexcept { return {static_cast<int>(code), category()}; }

/**
 * @brief The calling thread's error record as a std::error_code, for use
 *        after a direct call of a C function.
 * @return the recorded code; an empty code when none is recorded.
 */
inline std::error_code last_error() noexcept { return make_error_code(static_cast<errc>(VELKCErrGet())); }

} // namespace velkc

namespace std {
/** Lets velkc::errc values convert to and compare with std::error_code. */
template <>
struct is_error_code_enum<velkc::errc> : true_type {};
} // namespace std

namespace velkc {

/**
 * @brief A value or the error that prevented it; a small expected-like type
 *        that never throws.
 *
 * Test it (has_value() or operator bool) before reading the value: reading
 * the value of a failed Result is undefined (an assertion in debug builds).
 * @tparam T the value type; move-only types such as velkc::List are fine.
 */
template <class T>
class [[nodiscard]] Result {
public:
    using value_type = T; ///< The type of the value.

    /** @param value the result of a successful call. */
    Result(T value) noexcept(std::is_nothrow_move_constructible_v<T>) : value_(std::move(value)) {}

    /**
     * @param error the reason of a failure; an empty code becomes
     *        errc::operation_failed, so that a failed Result always says why.
     */
    Result(std::error_code error) noexcept : error_(error ? error : make_error_code(errc::operation_failed)) {}

    /** @param error the reason of a failure, as a library code. */
    Result(errc error) noexcept : Result(make_error_code(error)) {}

    /** @return true when the call succeeded. */
    bool has_value() const noexcept { return value_.has_value(); }

    /** @return has_value(). */
    explicit operator bool() const noexcept { return has_value(); }

    /** @return the value; has_value() must be true. */
    T &value() &noexcept
    {
        assert(has_value());
        return *value_;
    }

    /** @return the value; has_value() must be true. */
    const T &value() const &noexcept
    {
        assert(has_value());
        return *value_;
    }

    /** @return the value, moved out; has_value() must be true. */
    T &&value() &&noexcept
    {
        assert(has_value());
        return std::move(*value_);
    }

    /** @return value(). */
    T &operator*() &noexcept { return value(); }
    /** @return value(). */
    const T &operator*() const &noexcept { return value(); }
    /** @return value(), moved out. */
    T &&operator*() &&noexcept { return std::move(*this).value(); }
    /** @return the address of value(). */
    T *operator->() noexcept { return &value(); }
    /** @return the address of value(). */
    const T *operator->() const noexcept { return &value(); }

    /** @return why the call failed; an empty code when it succeeded. */
    std::error_code error() const noexcept { return error_; }

    /**
     * @param fallback what to return when the call failed.
     * @return the value, or fallback converted to T.
     */
    template <class U>
    T value_or(U &&fallback) const &
    {
        return has_value() ? *value_ : static_cast<T>(std::forward<U>(fallback));
    }

    /**
     * @param fallback what to return when the call failed.
     * @return the value moved out, or fallback converted to T.
     */
    template <class U>
    T value_or(U &&fallback) &&
    {
        return has_value() ? std::move(*value_) : static_cast<T>(std::forward<U>(fallback));
    }

private:
    std::optional<T> value_;
    std::error_code error_;
};

namespace detail {

/** Clears the calling thread's error record, so that a failure reads its own code. */
inline void clear_record() noexcept { VELKCErrSetEx(ERR_SUCCESS, nullptr, 0); }

/**
 * @return the code the library recorded for the call that just failed;
 *         errc::operation_failed when it recorded none.
 */
inline std::error_code recorded_failure() noexcept
{
    const unsigned int code = VELKCErrGet();
    return make_error_code(static_cast<errc>(code != ERR_SUCCESS ? code : ERR_OPERATION_FAILED));
}

/**
 * @param result what a C function returned; negative on failure.
 * @return an empty code, or the recorded failure.
 */
inline std::error_code checked(int result) noexcept { return result < 0 ? recorded_failure() : std::error_code(); }

/**
 * @brief A NUL-terminated copy of a string view for the C API: in the object
 *        itself up to 255 bytes, in a malloc'd buffer beyond.
 */
class CString {
public:
    /** @param text the text to copy; it must not contain a NUL byte. */
    explicit CString(std::string_view text) noexcept
    {
        if (text.find('\0') != std::string_view::npos) {
            error_ = errc::bad_parameters; // the C side would see a shorter string
            return;
        }
        char *dest = small_;
        if (text.size() >= sizeof(small_)) {
            heap_ = static_cast<char *>(std::malloc(text.size() + 1));
            if (heap_ == nullptr) {
                error_ = errc::out_of_memory;
                return;
            }
            dest = heap_;
        }
        if (!text.empty()) {
            std::memcpy(dest, text.data(), text.size());
        }
        dest[text.size()] = '\0';
        str_ = dest;
    }

    CString(const CString &) = delete;
    CString &operator=(const CString &) = delete;
    ~CString() { std::free(heap_); }

    /** @return the copy; null when it could not be made (see error()). */
    const char *c_str() const noexcept { return str_; }

    /** @return the copy, or null for the empty text (the C default). */
    const char *c_str_or_null() const noexcept { return str_ != nullptr && *str_ != '\0' ? str_ : nullptr; }

    /** @return why the copy could not be made; empty when it was. */
    std::error_code error() const noexcept
    {
        return error_ == errc::success ? std::error_code() : make_error_code(error_);
    }

private:
    char small_[256];
    char *heap_ = nullptr;
    const char *str_ = nullptr;
    errc error_ = errc::success;
};

/** @return the first error of the copies, or an empty code. */
template <class... Copies>
std::error_code first_error(const Copies &...copies) noexcept
{
    std::error_code error;
    ((error = error ? error : copies.error()), ...);
    return error;
}

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

/**
 * @brief Reading and editing configuration files of "key=value" lines and
 *        "[section]" headers, over the VELKCFile* functions.
 *
 * Every change is all or nothing and writers of one file take turns, as in
 * C. Paths, keys and names are copied into NUL-terminated buffers; a format
 * is a printf format taking the key and then the value, and an empty format
 * stands for the default "%s=%s\n". Keys and values that would change the
 * file's structure (a line break, an "=" in a key, ...) are refused with
 * errc::bad_parameters. A file that cannot be opened gives
 * errc::open_failed.
 */
namespace file {

/** @brief Which key line wins when a key appears on several lines. */
enum class Occurrence {
    first, ///< the first line of the key
    last,  ///< the last line of the key
};

namespace detail {

using velkc::detail::checked;
using velkc::detail::clear_record;
using velkc::detail::CString;
using velkc::detail::first_error;
using velkc::detail::recorded_failure;

// A new container filled by a C reader: fill(address) < 0 is a failure.
template <class Container, class Fill>
Result<Container> read_into(Fill fill) noexcept
{
    Result<Container> made = Container::create();
    if (!made) {
        return made.error();
    }
    clear_record();
    if (fill(made->address()) < 0) {
        return recorded_failure();
    }
    return made;
}

// The table itself, or a new empty one in empty when it has no block: the
// C writers want a table even when it holds nothing.
inline Result<SzHash *> table_of(const Hash &pairs, Hash &empty) noexcept
{
    if (pairs.get() != nullptr) {
        return pairs.get();
    }
    Result<Hash> made = Hash::create();
    if (!made) {
        return made.error();
    }
    empty = std::move(*made);
    return empty.get();
}

// Replaces (SECTION_FLAG_REPLACE) or deletes every section of a name.
inline std::error_code modify_section(std::string_view path, std::string_view section, std::string_view new_name,
                                      const SzHash *pairs, int flags, std::string_view format) noexcept
{
    const CString p(path), s(section), n(new_name), f(format);
    if (std::error_code error = first_error(p, s, n, f)) {
        return error;
    }
    clear_record();
    const int found = VELKCIFileModifySection(p.c_str(), s.c_str(), n.c_str_or_null(), pairs, flags, f.c_str_or_null());
    return found > 0 ? std::error_code() : recorded_failure();
}

} // namespace detail

/**
 * @brief The value of a key: the text after the first "=" of its line,
 *        trimmed, without one pair of surrounding quotes.
 * @param path the file to read.
 * @param key the key, compared exactly.
 * @param which the line that wins when the key appears more than once.
 * @return the value; errc::key_not_found when no line of the key has a
 *         value. Allocates the std::string (may throw std::bad_alloc).
 */
inline Result<std::string> get_value(std::string_view path, std::string_view key, Occurrence which = Occurrence::first)
{
    const detail::CString p(path), k(key);
    if (std::error_code error = detail::first_error(p, k)) {
        return error;
    }
    const int flags = which == Occurrence::last ? MATCH_FLAG_LAST : 0;
    char small[256];
    detail::clear_record();
    int size = VELKCFileGetKeyValue(p.c_str(), k.c_str(), small, sizeof(small), flags);
    if (size > 0) {
        return std::string(small, static_cast<std::size_t>(size) - 1);
    }
    // Too long for small: ask for the size, then read into a buffer of it.
    // The value may grow in between (another writer); try again then.
    for (int attempt = 0; attempt < 3 && size < 0 && VELKCErrGet() == ERR_NOT_ENOUGH_MEMORY; ++attempt) {
        detail::clear_record();
        const int needed = VELKCFileGetKeyValue(p.c_str(), k.c_str(), nullptr, 0, flags);
        if (needed <= 0) {
            break;
        }
        std::string value(static_cast<std::size_t>(needed), '\0');
        detail::clear_record();
        size = VELKCFileGetKeyValue(p.c_str(), k.c_str(), value.data(), needed, flags);
        if (size > 0) {
            value.resize(static_cast<std::size_t>(size) - 1);
            return value;
        }
    }
    return detail::recorded_failure();
}

/**
 * @brief Sets a key's value: replaces the key's first line (dropping any
 *        further ones) or appends a line; creates a missing file.
 * @param path the file to change.
 * @param key the key to set.
 * @param value its new value.
 * @param format how to write the pair; empty for "%s=%s\n".
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_value(std::string_view path, std::string_view key, std::string_view value,
                                               std::string_view format = {}) noexcept
{
    const detail::CString p(path), k(key), v(value), f(format);
    if (std::error_code error = detail::first_error(p, k, v, f)) {
        return error;
    }
    detail::clear_record();
    return detail::checked(VELKCFileSetKeyValue(p.c_str(), k.c_str(), v.c_str(), f.c_str_or_null()));
}

/**
 * @brief Removes every line of a key.
 * @param path the file to change.
 * @param key the key to remove.
 * @return the number of lines removed; errc::key_not_found when there was
 *         none (the file is then left as it was).
 */
inline Result<int> remove_key(std::string_view path, std::string_view key) noexcept
{
    const detail::CString p(path), k(key);
    if (std::error_code error = detail::first_error(p, k)) {
        return error;
    }
    detail::clear_record();
    const int removed = VELKCFileRemoveKey(p.c_str(), k.c_str());
    if (removed <= 0) {
        return detail::recorded_failure();
    }
    return removed;
}

/**
 * @param path the file to read.
 * @return every "key=value" pair outside comments, a later line of a key
 *         overriding an earlier one, or the library's error.
 */
inline Result<Hash> get_pairs(std::string_view path) noexcept
{
    const detail::CString p(path);
    if (std::error_code error = detail::first_error(p)) {
        return error;
    }
    return detail::read_into<Hash>([&p](SzHash **hash) { return VELKCFileGetPair(p.c_str(), hash); });
}

/**
 * @param path the file to read.
 * @param section the section's name, as between the brackets.
 * @return the pairs of the first section of that name, up to the next line
 *         that starts with "["; an empty table when there is no such
 *         section; or the library's error.
 */
inline Result<Hash> get_section(std::string_view path, std::string_view section) noexcept
{
    const detail::CString p(path), s(section);
    if (std::error_code error = detail::first_error(p, s)) {
        return error;
    }
    return detail::read_into<Hash>([&p, &s](SzHash **hash) { return VELKCFileGetSection(p.c_str(), s.c_str(), hash); });
}

/**
 * @param path the file to read.
 * @return the names of the file's sections in file order, or the library's
 *         error.
 */
inline Result<List> section_names(std::string_view path) noexcept
{
    const detail::CString p(path);
    if (std::error_code error = detail::first_error(p)) {
        return error;
    }
    return detail::read_into<List>([&p](SzList **list) { return VELKCFileEnumSection(p.c_str(), list); });
}

/**
 * @brief Sets many keys and removes others in one change; creates a missing
 *        file (mode 0644).
 *
 * Each key's first line is replaced or dropped; the keys of pairs that had
 * no line are appended. Neither table is changed.
 * @param path the file to change.
 * @param pairs the keys to set and their values.
 * @param remove the keys whose line to drop (their values are ignored).
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_keys(std::string_view path, const Hash &pairs, const Hash &remove = Hash(),
                                              std::string_view format = {}) noexcept
{
    const detail::CString p(path), f(format);
    if (std::error_code error = detail::first_error(p, f)) {
        return error;
    }
    Hash empty;
    const Result<SzHash *> table = detail::table_of(pairs, empty);
    if (!table) {
        return table.error();
    }
    detail::clear_record();
    // The library works on copies of both tables and leaves them as they are.
    return detail::checked(VELKCFileSetKeys(p.c_str(), *table, remove.get(), f.c_str_or_null()));
}

/**
 * @brief Appends a section at the end of the file (created when missing),
 *        unless the file has a section of that name already.
 * @param path the file to change.
 * @param section the new section's name.
 * @param pairs its pairs, written in the table's slot order.
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return true when the section was added, false when one of that name
 *         exists (nothing is written); or the library's error.
 */
inline Result<bool> add_section(std::string_view path, std::string_view section, const Hash &pairs,
                                std::string_view format = {}) noexcept
{
    const detail::CString p(path), s(section), f(format);
    if (std::error_code error = detail::first_error(p, s, f)) {
        return error;
    }
    Hash empty;
    const Result<SzHash *> table = detail::table_of(pairs, empty);
    if (!table) {
        return table.error();
    }
    detail::clear_record();
    const int added = VELKCFileAddSection(p.c_str(), s.c_str(), *table, f.c_str_or_null());
    if (added < 0) {
        return detail::recorded_failure();
    }
    return added == 1;
}

/**
 * @brief Replaces the content of every section of a name by pairs, under a
 *        new name if one is given. Comment lines of the old section stay.
 * @param path the file to change.
 * @param section the name of the sections to replace.
 * @param pairs the new content.
 * @param new_name the new name; empty to keep section.
 * @param format how to write a pair; empty for "%s=%s\n".
 * @return an empty code; errc::key_not_found when the file has no such
 *         section (it is left as it was); or the library's error.
 */
[[nodiscard]] inline std::error_code replace_section(std::string_view path, std::string_view section, const Hash &pairs,
                                                     std::string_view new_name = {},
                                                     std::string_view format = {}) noexcept
{
    return detail::modify_section(path, section, new_name, pairs.get(), SECTION_FLAG_REPLACE, format);
}

/**
 * @brief Deletes every section of a name: its header and its lines, except
 *        comment lines.
 * @param path the file to change.
 * @param section the name of the sections to delete.
 * @return an empty code; errc::key_not_found when the file has no such
 *         section (it is left as it was); or the library's error.
 */
[[nodiscard]] inline std::error_code remove_section(std::string_view path, std::string_view section) noexcept
{
    return detail::modify_section(path, section, {}, nullptr, 0, {});
}

/**
 * @brief A section of a file as the section editors address it: its name,
 *        or std::nullopt for the lines before the first section.
 */
using Section = std::optional<std::string_view>;

namespace detail {

// A section's name as a C string, null for no section.
class SectionName {
public:
    explicit SectionName(const Section &section) noexcept
    {
        if (section) {
            name_.emplace(*section);
        }
    }
    const char *c_str() const noexcept { return name_ ? name_->c_str() : nullptr; }
    std::error_code error() const noexcept { return name_ ? name_->error() : std::error_code(); }

private:
    std::optional<CString> name_;
};

} // namespace detail

/**
 * @brief Sets one key of one section, changing nothing else in the file
 *        (see VELKCFileSetSectionKeyValue()); creates a missing file.
 * @param path the file to change.
 * @param section the section, std::nullopt for the lines before the first.
 * @param key the key to set.
 * @param value its new value.
 * @return an empty code, or the library's error.
 */
[[nodiscard]] inline std::error_code set_section_value(std::string_view path, const Section &section,
                                                       std::string_view key, std::string_view value) noexcept
{
    const detail::CString p(path), k(key), v(value);
    const detail::SectionName s(section);
    if (std::error_code error = detail::first_error(p, s, k, v)) {
        return error;
    }
    detail::clear_record();
    return detail::checked(VELKCFileSetSectionKeyValue(p.c_str(), s.c_str(), k.c_str(), v.c_str()));
}

/**
 * @brief Removes one key of one section, changing nothing else in the file.
 * @param path the file to change.
 * @param section the section, std::nullopt for the lines before the first.
 * @param key the key to remove.
 * @return the number of the key's lines removed; errc::key_not_found or
 *         errc::section_not_found when there were none (the file is then
 *         left as it was); or the library's error.
 */
inline Result<int> remove_section_key(std::string_view path, const Section &section, std::string_view key) noexcept
{
    const detail::CString p(path), k(key);
    const detail::SectionName s(section);
    if (std::error_code error = detail::first_error(p, s, k)) {
        return error;
    }
    detail::clear_record();
    const int removed = VELKCFileRemoveSectionKey(p.c_str(), s.c_str(), k.c_str());
    if (removed <= 0) {
        return detail::recorded_failure();
    }
    return removed;
}

/**
 * @brief A transaction on one file: the writers' lock and the file's
 *        content, held from open() until commit() writes the changes in one
 *        commit; a transaction that is not committed is abandoned, nothing
 *        written, when it goes out of scope.
 *
 * Move-only. Other writers of the file wait meanwhile: keep it short.
 *
 *     velkc::Result<velkc::file::Edit> edit = velkc::file::Edit::open("/etc/app.conf");
 *     if (!edit) return edit.error();
 *     velkc::Result<std::string> next = edit->get("ids", "next");
 *     int id = next ? std::stoi(*next) : 1;
 *     if (std::error_code ec = edit->set("ids", "next", std::to_string(id + 1))) return ec;
 *     if (velkc::Result<bool> written = edit->commit(); !written) return written.error();
 */
class Edit {
public:
    /**
     * @brief Opens a transaction (see VELKCFileEditOpen()).
     * @param path the file; a missing one is created on commit unless flags
     *        has EDIT_FLAG_EXISTING.
     * @param flags 0 or EDIT_FLAG_EXISTING.
     * @return the transaction, or the library's error.
     */
    static Result<Edit> open(std::string_view path, int flags = 0) noexcept
    {
        const detail::CString p(path);
        if (std::error_code error = detail::first_error(p)) {
            return error;
        }
        detail::clear_record();
        VELKCFileEdit *edit = VELKCFileEditOpen(p.c_str(), flags);
        if (edit == nullptr) {
            return detail::recorded_failure();
        }
        return Edit(edit);
    }

    /** @brief An ended transaction. */
    Edit() noexcept = default;
    /** @param other a transaction to take over; it ends up ended. */
    Edit(Edit &&other) noexcept : edit_(std::exchange(other.edit_, nullptr)) {}
    /**
     * @param other a transaction to take over; the one held before is
     *        abandoned.
     * @return this.
     */
    Edit &operator=(Edit &&other) noexcept
    {
        if (this != &other) {
            abort();
            edit_ = std::exchange(other.edit_, nullptr);
        }
        return *this;
    }
    Edit(const Edit &) = delete;
    Edit &operator=(const Edit &) = delete;
    /** @brief Abandons the transaction unless it was committed. */
    ~Edit() { abort(); }

    /** @return true while the transaction is open. */
    explicit operator bool() const noexcept { return edit_ != nullptr; }

    /**
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @return its value; errc::key_not_found or errc::section_not_found; or
     *         the library's error. Allocates the std::string.
     */
    Result<std::string> get(const Section &section, std::string_view key) const
    {
        const detail::CString k(key);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k)) {
            return error;
        }
        detail::clear_record();
        const int size = VELKCFileEditGetValue(edit_, s.c_str(), k.c_str(), nullptr, 0);
        if (size <= 0) {
            return detail::recorded_failure();
        }
        std::string value(static_cast<std::size_t>(size), '\0');
        VELKCFileEditGetValue(edit_, s.c_str(), k.c_str(), value.data(), size);
        value.resize(static_cast<std::size_t>(size) - 1);
        return value;
    }

    /**
     * @brief Sets a key of a section (added when missing).
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @param value its new value.
     * @return an empty code, or the library's error.
     */
    [[nodiscard]] std::error_code set(const Section &section, std::string_view key, std::string_view value) noexcept
    {
        const detail::CString k(key), v(value);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k, v)) {
            return error;
        }
        detail::clear_record();
        return detail::checked(VELKCFileEditSetValue(edit_, s.c_str(), k.c_str(), v.c_str()));
    }

    /**
     * @brief Removes a key of a section.
     * @param section the section, std::nullopt for the lines before the first.
     * @param key the key.
     * @return the number of its lines removed; errc::key_not_found or
     *         errc::section_not_found when there was none.
     */
    Result<int> remove(const Section &section, std::string_view key) noexcept
    {
        const detail::CString k(key);
        const detail::SectionName s(section);
        if (std::error_code error = detail::first_error(s, k)) {
            return error;
        }
        detail::clear_record();
        const int removed = VELKCFileEditRemoveKey(edit_, s.c_str(), k.c_str());
        if (removed <= 0) {
            return detail::recorded_failure();
        }
        return removed;
    }

    /**
     * @brief Adds an empty section at the end, unless one of the name exists.
     * @param name the section's name.
     * @return true added, false when it exists; or the library's error.
     */
    Result<bool> add_section(std::string_view name) noexcept
    {
        return named([this](const char *n) { return VELKCFileEditAddSection(edit_, n); }, name);
    }

    /**
     * @brief Renames the first section of a name.
     * @param name the section's name.
     * @param new_name its new name.
     * @return an empty code; errc::section_not_found, or errc::key_exists
     *         when a section of the new name exists; or the library's error.
     */
    [[nodiscard]] std::error_code rename_section(std::string_view name, std::string_view new_name) noexcept
    {
        const detail::CString n(name), to(new_name);
        if (std::error_code error = detail::first_error(n, to)) {
            return error;
        }
        detail::clear_record();
        return VELKCFileEditRenameSection(edit_, n.c_str(), to.c_str()) > 0 ? std::error_code()
                                                                            : detail::recorded_failure();
    }

    /**
     * @brief Removes the first section of a name, header and lines.
     * @param name the section's name.
     * @return an empty code; errc::section_not_found; or the library's error.
     */
    [[nodiscard]] std::error_code remove_section(std::string_view name) noexcept
    {
        const Result<bool> removed =
            named([this](const char *n) { return VELKCFileEditRemoveSection(edit_, n); }, name);
        return !removed ? removed.error() : *removed ? std::error_code() : detail::recorded_failure();
    }

    /** @return the names of the section headers in file order. */
    Result<List> sections() const noexcept
    {
        return detail::read_into<List>([this](SzList **list) { return VELKCFileEditGetSections(edit_, list); });
    }

    /**
     * @param section the section, std::nullopt for the lines before the first.
     * @return its keys, each once, in the order they first appear;
     *         errc::section_not_found.
     */
    Result<List> keys(const Section &section) const noexcept
    {
        const detail::SectionName s(section);
        if (std::error_code error = s.error()) {
            return error;
        }
        return detail::read_into<List>(
            [this, &s](SzList **list) { return VELKCFileEditGetKeys(edit_, s.c_str(), list); });
    }

    /**
     * @param original true for the file as it was read, false for the file
     *        as it stands with the changes made so far.
     * @return the text; or the library's error. Allocates the std::string.
     */
    Result<std::string> text(bool original) const
    {
        char *text = nullptr;
        detail::clear_record();
        const int size = VELKCFileEditGetText(edit_, original ? 1 : 0, &text);
        if (size < 0) {
            return detail::recorded_failure();
        }
        const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
        return std::string(text, static_cast<std::size_t>(size));
    }

    /**
     * @brief Writes the changes in one commit and ends the transaction.
     * @return true when written, false when nothing had changed; or the
     *         library's error (nothing changed in the file).
     */
    Result<bool> commit() noexcept
    {
        detail::clear_record();
        const int written = VELKCFileEditCommit(std::exchange(edit_, nullptr));
        if (written < 0) {
            return detail::recorded_failure();
        }
        return written == 1;
    }

    /** @brief Ends the transaction without writing. */
    void abort() noexcept { VELKCFileEditAbort(std::exchange(edit_, nullptr)); }

private:
    explicit Edit(VELKCFileEdit *edit) noexcept : edit_(edit) {}

    // call(name) on a section name: 1 true, 0 false, -1 the recorded error.
    template <class Call>
    static Result<bool> named(Call call, std::string_view name) noexcept
    {
        const detail::CString n(name);
        if (std::error_code error = n.error()) {
            return error;
        }
        detail::clear_record();
        const int result = call(n.c_str());
        if (result < 0) {
            return detail::recorded_failure();
        }
        return result == 1;
    }

    VELKCFileEdit *edit_ = nullptr;
};

} // namespace file

} // namespace velkc

#endif /* VELKC_HPP */
