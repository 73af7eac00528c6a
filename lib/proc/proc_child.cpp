// The plan of a started child and its execution.
#include "proc_child.hpp"

#include <velkc/proc.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velkc {

namespace {

// The environment of a child that keeps only PATH, in one block: the null-
// terminated pointer array, then "PATH=..." if PATH is set.
MallocPtr<char *> BuildPathOnlyEnvironment()
{
    constexpr char kPrefix[] = "PATH=";
    const char *path = std::getenv("PATH");
    const std::size_t nPointers = path != nullptr ? 2 : 1;
    const std::size_t cbEntry = path != nullptr ? sizeof kPrefix + std::strlen(path) : 0;
    MallocPtr<char *> block(static_cast<char **>(std::malloc(nPointers * sizeof(char *) + cbEntry)));
    if (!block) {
        return block;
    }
    char **vector = block.get();
    vector[nPointers - 1] = nullptr;
    if (path != nullptr) {
        char *entry = reinterpret_cast<char *>(vector + nPointers);
        std::memcpy(entry, kPrefix, sizeof kPrefix - 1);
        std::memcpy(entry + sizeof kPrefix - 1, path, cbEntry - (sizeof kPrefix - 1));
        vector[0] = entry;
    }
    return block;
}

// Puts "/dev/null" on descriptors 0, 1 and 2; without it they stay as they
// are.
VELKC_CHILD_CODE void RedirectStdioToNull() noexcept
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
VELKC_CHILD_CODE void CloseDescriptorsFrom3(long openMax) noexcept
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

} // namespace

bool MakeChildPlan(int flags, bool sharedMemory, ChildPlan &plan, MallocPtr<char *> &environment)
{
    plan.flags = flags;
    if (flags & FORK_FLAG_CLEAR_ENV) {
        environment = BuildPathOnlyEnvironment();
        if (!environment) {
            return false;
        }
        plan.environment = environment.get();
    }
    if (flags & FORK_FLAG_CLOSE_FDS) {
        plan.openMax = sysconf(_SC_OPEN_MAX);
    }
    // A forked child's fork handler closes the lock files whatever the
    // flags; a child that shares the caller's memory runs no fork handlers.
    if (sharedMemory) {
        plan.nLockFds = LockTableFds(plan.lockFds);
    }
    return true;
}

VELKC_CHILD_CODE void PrepareChild(const ChildPlan &plan, bool sharedMemory, void (*daemonize)())
{
    const int flags = plan.flags;
    if (flags & FORK_FLAG_RESET_PRIORITY) {
        syscall(SYS_setpriority, PRIO_PROCESS, 0, 0);
    }
    if ((flags & FORK_FLAG_CLEAR_ENV) && !sharedMemory) {
        environ = plan.environment;
    }
    for (int i = 0; i < plan.nLockFds; ++i) {
        syscall(SYS_close, plan.lockFds[i]);
    }
    if (flags & FORK_FLAG_NULL_STDIO) {
        RedirectStdioToNull();
    }
    if (flags & FORK_FLAG_CLOSE_FDS) {
        CloseDescriptorsFrom3(plan.openMax);
    }
    if ((flags & FORK_FLAG_DAEMON) && daemonize != nullptr) {
        daemonize();
    }
    if (flags & FORK_FLAG_SETSID) {
        syscall(SYS_setsid);
    }
    if (flags & FORK_FLAG_CHDIR_ROOT) {
        syscall(SYS_chdir, "/"); // on failure the child keeps its working directory
    }
}

bool WaitForChild(pid_t pid, int &status) noexcept
{
    pid_t waited;
    while ((waited = waitpid(pid, &status, 0)) == -1 && errno == EINTR) {
    }
    return waited != -1;
}

} // namespace velkc
