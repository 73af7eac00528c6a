// VELKCProcForkEx: fork and prepare the child according to flag bits.
//
// The child of a threaded process may find any lock taken by a thread that
// no longer exists in it, the allocator's and stdio's included. So the
// child-side preparations use system calls only: what they need is built in
// the parent before the fork.
#include "internal/internal.hpp"
#include "internal/lock_table.hpp"
#include "internal/report.hpp"
#include "proc_child.hpp"

#include <velkc/proc.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

// The log position of a failed second fork, fixed so that log watchers can
// match it.
constexpr int kDaemonForkFailureLine = 83;

// A log line built in a fixed buffer, without the allocator, locale or
// stdio, so that a forked child can write it.
class ChildLogLine {
public:
    ChildLogLine &operator<<(const char *sz) noexcept
    {
        while (*sz != '\0' && len_ < sizeof buf_) {
            buf_[len_++] = *sz++;
        }
        return *this;
    }
    ChildLogLine &operator<<(unsigned long n) noexcept
    {
        char digits[24];
        char *p = digits + sizeof digits;
        *--p = '\0';
        do {
            *--p = static_cast<char>('0' + n % 10);
            n /= 10;
        } while (n != 0);
        return *this << p;
    }
    const char *data() const noexcept { return buf_; }
    std::size_t size() const noexcept { return len_; }

private:
    char buf_[512];
    std::size_t len_ = 0;
};

// Sends a line to the system log socket: syslog() itself takes a lock.
void SendToSystemLog(const ChildLogLine &line)
{
    const velkc::UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!fd) {
        return;
    }
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    constexpr char kLogSocket[] = "/dev/log";
    std::memcpy(addr.sun_path, kLogSocket, sizeof kLogSocket);
    sendto(fd.get(), line.data(), line.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr *>(&addr), sizeof addr);
}

// What syslog(LOG_ERR, "%s:%d Failed to fork(). errno=[%d/%m]", ...) would
// send, less the time stamp, which the log daemon adds.
void LogDaemonForkFailure(int err)
{
    ChildLogLine line;
    const auto number = static_cast<unsigned long>(err);
    line << "<" << static_cast<unsigned long>(LOG_USER | LOG_ERR) << ">" << program_invocation_short_name << ": "
         << VELKC_SOURCE << ":" << static_cast<unsigned long>(kDaemonForkFailureLine) << " Failed to fork(). errno=["
         << number << "/";
    if (const char *text = strerrordesc_np(err)) {
        line << text;
    } else {
        line << number;
    }
    SendToSystemLog(line << "]");
}

// Forks again so that the caller's child is not the process that goes on.
// The child has a single thread, so the locks fork itself takes are free.
void Daemonize()
{
    const pid_t pid = fork();
    if (pid < 0) {
        LogDaemonForkFailure(errno);
        _exit(255);
    }
    if (pid > 0) {
        _exit(0);
    }
    usleep(1);
}

// Runs in the child. environment is the one to adopt with
// FORK_FLAG_CLEAR_ENV.
void PrepareChild(int flags, velkc::MallocPtr<char *> environment)
{
    if (flags & FORK_FLAG_RESET_PRIORITY) {
        setpriority(PRIO_PROCESS, 0, 0);
    }
    if (flags & FORK_FLAG_CLEAR_ENV) {
        environ = environment.release();
    }
    if (flags & (FORK_FLAG_CLOSE_LOCKS | FORK_FLAG_CLOSE_FDS)) {
        velkc::ResetLockTableInChild();
    }
    if (flags & FORK_FLAG_NULL_STDIO) {
        velkc::RedirectStdioToNull();
    }
    if (flags & FORK_FLAG_CLOSE_FDS) {
        velkc::CloseDescriptorsFrom3(sysconf(_SC_OPEN_MAX));
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

velkc::MallocPtr<char *> velkc::BuildPathOnlyEnvironment()
{
    constexpr char kPrefix[] = "PATH=";
    const char *path = std::getenv("PATH");
    const std::size_t nPointers = path != nullptr ? 2 : 1;
    const std::size_t cbEntry = path != nullptr ? sizeof kPrefix + std::strlen(path) : 0;
    velkc::MallocPtr<char *> block(static_cast<char **>(std::malloc(nPointers * sizeof(char *) + cbEntry)));
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

extern "C" int VELKCProcForkEx(int flags) noexcept
{
    velkc::MallocPtr<char *> environment;
    if (flags & FORK_FLAG_CLEAR_ENV) {
        environment = velkc::BuildPathOnlyEnvironment();
        if (!environment) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return -1;
        }
    }
    std::fflush(nullptr); // no buffered output may be written twice
    const pid_t pid = fork();
    if (pid < 0) {
        VELKC_SET_ERR(ERR_FORK_FAILED);
        return -1;
    }
    if (pid == 0) {
        PrepareChild(flags, std::move(environment));
        return 0;
    }
    if (flags & FORK_FLAG_DAEMON) {
        return WaitIntermediateChild(pid);
    }
    return pid;
}
