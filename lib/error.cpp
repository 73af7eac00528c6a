// The per-thread error record.
#include <velkc/error.h>

__thread unsigned int kovaerrno = 0;

namespace {
thread_local const char *tErrFile = nullptr;
thread_local int tErrLine = 0;
} // namespace

extern "C" {

void VELKCErrSetEx(unsigned int code, const char *file, int line) noexcept
{
    kovaerrno = code;
    tErrFile = file;
    tErrLine = line;
}

unsigned int VELKCErrGet(void) noexcept { return kovaerrno; }

const char *VELKCErrorGetFile(void) noexcept { return tErrFile; }

int VELKCErrorGetLine(void) noexcept { return tErrLine; }

} // extern "C"
