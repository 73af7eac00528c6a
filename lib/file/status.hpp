// Status codes of the configuration-file steps and how a writer records them.
//
// The steps set no error record of their own. They return a Status: 0, or
// the code that the calling function records at its own failure site with
// VELKC_FAIL, so that the record names that function's source.
#pragma once

#include "internal.hpp"

namespace velkc {

// 0 on success, else an error code for the caller to record.
using Status = unsigned int;
inline constexpr Status kOk = ERR_SUCCESS;
// A failure that leaves the record alone: a library function called on the
// way has recorded it already.
inline constexpr Status kLeaveRecord = ~0u;

// Records a failed step at the caller's site and gives the functions' -1.
inline int FailWith(Status status, const char *source, int line) noexcept
{
    if (status != kLeaveRecord) {
        VELKCErrSetEx(status, source, line);
    }
    return -1;
}

#define VELKC_FAIL(status) velkc::FailWith((status), VELKC_SOURCE, __LINE__)

} // namespace velkc
