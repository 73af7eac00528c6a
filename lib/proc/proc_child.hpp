// Starting a child, shared by VELKCProcForkEx and VELKCExecl: one plan of
// the child's preparations, made in the parent, and one function that
// carries it out in the child, whichever way the child was started (a fork,
// or a clone that shares the caller's memory until it execs). In the second
// case the child may use raw system calls only, nothing from the allocator
// or stdio, and no sanitizer instrumentation, whose run-time state would be
// the caller's: so does the plan's code.
#pragma once

#include "internal/internal.hpp"
#include "internal/lock_table.hpp"

#include <sys/types.h>

#if defined(__clang__)
#define VELKC_CHILD_CODE __attribute__((disable_sanitizer_instrumentation))
#else
#define VELKC_CHILD_CODE __attribute__((no_sanitize("address", "thread", "undefined")))
#endif

namespace velkc {

// What a child does before it goes on (or execs), from FORK_FLAG_* bits,
// with everything it needs built beforehand.
struct ChildPlan {
    int flags = 0;
    char **environment = nullptr; // with FORK_FLAG_CLEAR_ENV: PATH alone
    long openMax = 0;             // with FORK_FLAG_CLOSE_FDS
    // The calling thread's lock files, which a child that shares the
    // caller's memory closes without touching the table, whatever the flags
    // (a forked child's fork handler resets the table instead: none here).
    int lockFds[kLockTableLive] = {};
    int nLockFds = 0;
};

// Builds the plan for flags; sharedMemory: the child will share the
// caller's memory. environment owns the environment the plan points to.
// False when memory runs out.
bool MakeChildPlan(int flags, bool sharedMemory, ChildPlan &plan, MallocPtr<char *> &environment);

// Carries the plan out in the child, in the documented order: priority,
// environment (a forked child adopts it; a sharing child passes it to
// execve), lock files, "/dev/null" on 0, 1 and 2, descriptors from 3 up,
// then daemonize (called with FORK_FLAG_DAEMON, forked children only), a
// new session, and "/" as the working directory.
VELKC_CHILD_CODE void PrepareChild(const ChildPlan &plan, bool sharedMemory, void (*daemonize)());

// Waits for the child, resuming after signals: its wait status, or false
// with errno set.
bool WaitForChild(pid_t pid, int &status) noexcept;

} // namespace velkc
