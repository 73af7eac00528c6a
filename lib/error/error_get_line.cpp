// VELKCErrorGetLine: the line stored with the calling thread's error code
// (for a format error, the number of the failed check).
#include "error_internal.hpp"

#include <velkc/error.h>

extern "C" int VELKCErrorGetLine(void) noexcept { return velkc::error::tLine; }
