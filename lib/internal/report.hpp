// Reporting a failure where it happens: every macro here records or logs
// the calling source's name (VELKC_SOURCE) and line, so that the error
// record and the system log point at the failure site. Not installed.
#pragma once

#include <velkc/error.h>

#include <syslog.h>

// Every source is compiled with VELKC_SOURCE set to its base name
// ("file_add_line"): that is the name the error record and the log carry.
#ifndef VELKC_SOURCE
#error "VELKC_SOURCE must name the source file"
#endif

// Records an error at the failure site.
#define VELKC_SET_ERR(code) VELKCErrSetEx((code), VELKC_SOURCE, __LINE__)

// Logs with the "%s:%d " source prefix that every library message carries.
#define VELKC_LOG(priority, fmt, ...) \
    syslog((priority), "%s:%d " fmt, VELKC_SOURCE, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// Logs and rejects a failed argument check, naming the condition.
#define VELKC_REQUIRE(cond)                                               \
    do {                                                                  \
        if (!(cond)) {                                                    \
            VELKC_LOG(LOG_ERR, "Invaild Argument (%s)=[%d]\n", #cond, 0); \
            VELKC_SET_ERR(ERR_BAD_PARAMETERS);                            \
            return -1;                                                    \
        }                                                                 \
    } while (0)

namespace velkc {

// A failure code that leaves the record alone: a library function called
// on the way has recorded it already.
inline constexpr unsigned int kLeaveRecord = ~0u;

// Records a failure code at the caller's site and gives the functions' -1.
inline int FailWith(unsigned int code, const char *source, int line) noexcept
{
    if (code != kLeaveRecord) {
        VELKCErrSetEx(code, source, line);
    }
    return -1;
}

} // namespace velkc

// Records the code that a step returned, unless it is kLeaveRecord, and
// gives -1.
#define VELKC_FAIL(code) velkc::FailWith((code), VELKC_SOURCE, __LINE__)
