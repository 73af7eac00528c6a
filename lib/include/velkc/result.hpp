/**
 * @file velkc/result.hpp
 * @brief velkc::Result<T>, a value or the error that prevented it, and the helpers that pass C++ arguments to the C API.
 */
#ifndef VELKC_RESULT_HPP
#define VELKC_RESULT_HPP

#include <velkc/error.hpp>

#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

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

} // namespace detail

} // namespace velkc

#endif /* VELKC_RESULT_HPP */
