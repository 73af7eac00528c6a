/**
 * @file velkc.h
 * @brief velkc, the core system library: include this header for the whole
 * API.
 *
 * Every function is callable from C and C++ and never throws. Failures are
 * reported by the return value and the calling thread's error record
 * (velkc/error.h). Memory a caller frees is released with the matching
 * Free function for containers, with free() otherwise.
 *
 * velkc/unicode_icu.h, the internal operations on ICU types, is not
 * included: it needs the ICU headers.
 */
#ifndef VELKC_H
#define VELKC_H

#include <velkc/error.h>
#include <velkc/file.h>
#include <velkc/hash.h>
#include <velkc/hashset.h>
#include <velkc/list.h>
#include <velkc/proc.h>
#include <velkc/str.h>
#include <velkc/unicode.h>

#endif /* VELKC_H */
