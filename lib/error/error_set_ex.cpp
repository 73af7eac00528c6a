// VELKCErrSetEx and the per-thread error record it writes.
#include "error_internal.hpp"

#include <velkc/error.h>

__thread unsigned int kovaerrno = 0;

namespace velkc::error {
constinit thread_local const char *tFile = nullptr;
constinit thread_local int tLine = 0;
} // namespace velkc::error

extern "C" void VELKCErrSetEx(unsigned int code, const char *file, int line) noexcept
{
    kovaerrno = code;
    velkc::error::tFile = file;
    velkc::error::tLine = line;
}
