/* velkc: the core system library. Include this header for the whole API. */
#ifndef VELKC_H
#define VELKC_H

#include <velkc/error.h>
#include <velkc/list.h>
#include <velkc/hash.h>
#include <velkc/hashset.h>
#include <velkc/str.h>
#include <velkc/unicode.h>
#include <velkc/file.h>
#include <velkc/proc.h>

#endif /* VELKC_H */
