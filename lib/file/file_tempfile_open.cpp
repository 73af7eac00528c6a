// VELKCFileTempFileOpen: create a unique file from a mkstemp template and
// open it for writing.
#include "internal/internal.hpp"
#include "internal/report.hpp"

#include <velkc/file.h>

extern "C" FILE *VELKCFileTempFileOpen(char *szTemplate) noexcept
{
    if (szTemplate == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    velkc::UniqueFd fd(mkstemp(szTemplate));
    if (!fd) {
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return nullptr;
    }
    FILE *stream = fdopen(fd.get(), "w");
    if (stream == nullptr) {
        unlink(szTemplate);
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return nullptr;
    }
    fd.release(); // the stream owns the descriptor now
    return stream;
}
