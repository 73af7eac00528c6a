// VELKCErrorGetFile: the source that set the calling thread's error code.
#include "error_internal.hpp"

#include <velkc/error.h>

extern "C" const char *VELKCErrorGetFile(void) noexcept { return velkc::error::tFile; }
