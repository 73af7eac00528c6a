// Preparations of a started child, shared by VELKCProcForkEx and
// VELKCExecl. They may run in a child that shares the caller's memory until
// it execs: raw system calls only, nothing from the allocator or stdio, and
// no sanitizer instrumentation, whose run-time state would be the caller's.
#pragma once

#include "internal/internal.hpp"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__clang__)
#define VELKC_CHILD_CODE __attribute__((disable_sanitizer_instrumentation))
#else
#define VELKC_CHILD_CODE __attribute__((no_sanitize("address", "thread", "undefined")))
#endif

namespace velkc {

// The environment of a child that keeps only PATH, in one block: the null-
// terminated pointer array, then "PATH=..." if PATH is set. Built in the
// parent; null if out of memory.
MallocPtr<char *> BuildPathOnlyEnvironment();

// Puts "/dev/null" on descriptors 0, 1 and 2; without it they stay as they
// are.
VELKC_CHILD_CODE inline void RedirectStdioToNull() noexcept
{
    const long fd = syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR);
    if (fd < 0) {
        return;
    }
    for (long target = STDIN_FILENO; target <= STDERR_FILENO; ++target) {
        if (fd != target) {
            syscall(SYS_dup3, fd, target, 0);
        }
    }
    if (fd > STDERR_FILENO) {
        syscall(SYS_close, fd);
    }
}

// Closes every descriptor from 3 up to openMax - 1.
VELKC_CHILD_CODE inline void CloseDescriptorsFrom3(long openMax) noexcept
{
    if (openMax <= 3) {
        return;
    }
    // close_range does in one call what a loop over every number would.
    if (syscall(SYS_close_range, 3, openMax - 1, 0) != 0) {
        for (long fd = 3; fd < openMax; ++fd) {
            syscall(SYS_close, fd);
        }
    }
}

} // namespace velkc
