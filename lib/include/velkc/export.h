/**
 * @file velkc/export.h
 * @brief Linkage macros used by the declarations of every velkc header.
 *
 * Nothing here is called by users; the macros only shape the declarations.
 */
#ifndef VELKC_EXPORT_H
#define VELKC_EXPORT_H

/**
 * @def VELKC_API
 * @brief Marks a function or variable as exported from libvelkc.so.
 */
#if defined(__GNUC__)
#define VELKC_API __attribute__((visibility("default")))
#else
#define VELKC_API
#endif

/**
 * @def VELKC_EXTENSION
 * @brief Lets a declaration use a compiler extension without a pedantic
 * warning: the records that end in a flexible array member, which C++ lacks.
 */
#if defined(__GNUC__)
#define VELKC_EXTENSION __extension__
#else
#define VELKC_EXTENSION
#endif

/**
 * @def VELKC_NOEXCEPT
 * @brief `noexcept` for C++ callers: no exception ever leaves the library.
 */
#ifdef __cplusplus
#define VELKC_NOEXCEPT noexcept
#else
#define VELKC_NOEXCEPT
#endif

/**
 * @def VELKC_BEGIN_DECLS
 * @brief Opens C linkage for the declarations that follow (C++ only).
 * @def VELKC_END_DECLS
 * @brief Closes the C linkage opened by VELKC_BEGIN_DECLS.
 */
#ifdef __cplusplus
#define VELKC_BEGIN_DECLS extern "C" {
#define VELKC_END_DECLS }
#else
#define VELKC_BEGIN_DECLS
#define VELKC_END_DECLS
#endif

#endif /* VELKC_EXPORT_H */
