// VELKCProcForkEx: fork and prepare the child according to flag bits.
#include "internal.hpp"

#include <velkc/file.h>
#include <velkc/proc.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The log position of a failed second fork, fixed so that log watchers can
// match it.
constexpr int kDaemonForkFailureLine = 83;

void ClearEnvironmentButPath()
{
    const char *path = std::getenv("PATH");
    const bool hadPath = path != nullptr;
    const std::string saved = hadPath ? path : "";
    clearenv();
    if (hadPath) {
        setenv("PATH", saved.c_str(), 1);
    }
}

void RedirectStdioToNull()
{
    const int fd = open("/dev/null", O_RDWR);
    if (fd < 0) {
        return; // keep the inherited descriptors
    }
    dup2(fd, STDIN_FILENO);
    dup2(fd, STDOUT_FILENO);
    dup2(fd, STDERR_FILENO);
    if (fd > STDERR_FILENO) {
        close(fd);
    }
}

void CloseDescriptorsFrom3()
{
    const long openMax = sysconf(_SC_OPEN_MAX);
    if (openMax <= 3) {
        return;
    }
    // close_range does in one call what a loop over every number would.
    if (close_range(3, static_cast<unsigned>(openMax - 1), 0) != 0) {
        for (long fd = 3; fd < openMax; ++fd) {
            close(static_cast<int>(fd));
        }
    }
}

// Forks again so that the caller's child is not the process that goes on.
void Daemonize()
{
    const pid_t pid = fork();
    if (pid < 0) {
        syslog(LOG_ERR, "%s:%d Failed to fork(). errno=[%d/%m]", VELKC_SOURCE, kDaemonForkFailureLine, errno);
        _exit(255);
    }
    if (pid > 0) {
        _exit(0);
    }
    usleep(1);
}

void PrepareChild(int flags)
{
    if (flags & FORK_FLAG_RESET_PRIORITY) {
        setpriority(PRIO_PROCESS, 0, 0);
    }
    if (flags & FORK_FLAG_CLEAR_ENV) {
        ClearEnvironmentButPath();
    }
    if (flags & (FORK_FLAG_CLOSE_LOCKS | FORK_FLAG_CLOSE_FDS)) {
        VELKCFileCloseLock();
    }
    if (flags & FORK_FLAG_NULL_STDIO) {
        RedirectStdioToNull();
    }
    if (flags & FORK_FLAG_CLOSE_FDS) {
        CloseDescriptorsFrom3();
    }
    if (flags & FORK_FLAG_DAEMON) {
        Daemonize();
    }
    if (flags & FORK_FLAG_SETSID) {
        setsid();
    }
    if (flags & FORK_FLAG_CHDIR_ROOT) {
        if (chdir("/") != 0) {
            // nothing to do: the child keeps its working directory
        }
    }
}

// With a daemon fork the parent only learns whether the intermediate child
// went away cleanly.
int WaitIntermediateChild(pid_t pid)
{
    int status = 0;
    pid_t r;
    while ((r = waitpid(pid, &status, 0)) == -1 && errno == EINTR) {
    }
    if (r == -1) {
        return errno == ECHILD ? 1 : -1;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : -1;
}

} // namespace

extern "C" int VELKCProcForkEx(int flags) noexcept
{
    std::fflush(nullptr); // no buffered output may be written twice
    const pid_t pid = fork();
    if (pid < 0) {
        VELKC_SET_ERR(ERR_FORK_FAILED);
        return -1;
    }
    if (pid == 0) {
        PrepareChild(flags);
        return 0;
    }
    if (flags & FORK_FLAG_DAEMON) {
        return WaitIntermediateChild(pid);
    }
    return pid;
}
