/**
 * @file velkc/error.hpp
 * @brief The library's error codes as std::error_code: velkc::errc, its category, velkc::last_error().
 */
#ifndef VELKC_ERROR_HPP
#define VELKC_ERROR_HPP

#include <velkc/error.h>

#include <string>
#include <system_error>

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

#endif /* VELKC_ERROR_HPP */
