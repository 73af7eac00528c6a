// Status codes of the configuration-file steps.
//
// The steps set no error record of their own. They return a Status: 0, or
// the code that the calling function records at its own failure site with
// VELKC_FAIL (report.hpp), so that the record names that function's source;
// or kLeaveRecord when a library function called on the way has recorded
// the failure already.
#pragma once

#include "internal/report.hpp"

#include <velkc/error.h>

namespace velkc {

// 0 on success, else an error code for the caller to record.
using Status = unsigned int;
inline constexpr Status kOk = ERR_SUCCESS;

} // namespace velkc
