// VELKCProcForkEx: fork and prepare the child according to flag bits.
//
// The child of a threaded process may find any lock taken by a thread that
// no longer exists in it, the allocator's and stdio's included. So the
// child-side preparations use system calls only: what they need is built in
// the parent before the fork.
#include "internal/internal.hpp"
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

// With a daemon fork the parent only learns whether the intermediate child
// went away cleanly.
int WaitIntermediateChild(pid_t pid)
{
    int status = 0;
    if (!velkc::WaitForChild(pid, status)) {
        return errno == ECHILD ? 1 : -1;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : -1;
}

} // namespace

extern "C" int VELKCProcForkEx(int flags) noexcept
{
    velkc::ChildPlan plan;
    velkc::MallocPtr<char *> environment;
    if (!velkc::MakeChildPlan(flags, false, plan, environment)) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    std::fflush(nullptr); // no buffered output may be written twice
    const pid_t pid = fork();
    if (pid < 0) {
        VELKC_SET_ERR(ERR_FORK_FAILED);
        return -1;
    }
    if (pid == 0) {
        // The child keeps the environment it adopts.
        environment.release();
        velkc::PrepareChild(plan, false, Daemonize);
        return 0;
    }
    if (flags & FORK_FLAG_DAEMON) {
        return WaitIntermediateChild(pid);
    }
    return pid;
}
