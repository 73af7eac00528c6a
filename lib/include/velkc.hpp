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
#include <velkc/containers.hpp>
#include <velkc/error.hpp>
#include <velkc/file.hpp>
#include <velkc/result.hpp>

#endif /* VELKC_HPP */
