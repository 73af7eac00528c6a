// VELKCErrGet: the calling thread's error code.
#include <velkc/error.h>

extern "C" unsigned int VELKCErrGet(void) noexcept { return kovaerrno; }
