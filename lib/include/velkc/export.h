/* Symbol visibility and linkage shared by every public header. */
#ifndef VELKC_EXPORT_H
#define VELKC_EXPORT_H

#if defined(__GNUC__)
#define VELKC_API __attribute__((visibility("default")))
#else
#define VELKC_API
#endif

/* No exception ever leaves the library: C++ callers may rely on it. */
#ifdef __cplusplus
#define VELKC_NOEXCEPT noexcept
#else
#define VELKC_NOEXCEPT
#endif

#ifdef __cplusplus
#define VELKC_BEGIN_DECLS extern "C" {
#define VELKC_END_DECLS }
#else
#define VELKC_BEGIN_DECLS
#define VELKC_END_DECLS
#endif

#endif /* VELKC_EXPORT_H */
