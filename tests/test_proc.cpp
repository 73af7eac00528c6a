// Running programs: exit statuses, the SIGCHLD disposition, child-side
// preparations and the lock table in forked children.
#include <velkc.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <thread>
#include <vector>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

// Runs body in a child forked with flags; the child's exit status is the
// number of failed checks.
int RunInChild(int flags, int (*body)())
{
    const int pid = VELKCProcForkEx(flags);
    if (pid == 0) {
        _exit(body());
    }
    EXPECT_GT(pid, 0);
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Execl, ReturnsTheExitStatus)
{
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCExecl("/bin/true", 0, nullptr), 0);
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "exit 3", nullptr), 3);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

TEST(Execl, MissingProgramGives255WithoutError)
{
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCExecl("/nonexistent/program", 0, nullptr), 255);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

TEST(Execl, PathIsNotSearched)
{
    EXPECT_EQ(VELKCExecl("true", 0, nullptr), 255);
}

TEST(Execl, PassesArgumentsAfterThePath)
{
    // $0 is the path itself, then the arguments in order.
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "test \"$0:$1:$2\" = x:y:z", "x", "y", "z", nullptr), 0);
}

TEST(Execl, KilledChildIsAnError)
{
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "kill -KILL $$", nullptr), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_OPERATION_FAILED});
    EXPECT_STREQ(VELKCErrorGetFile(), "proc_execl");
}

TEST(Execl, CredentialsCheckPassesWithoutThePlatformLibrary)
{
    EXPECT_EQ(VELKCExecl("/bin/sh", EXEC_FLAG_CREDENTIALS, "-c", "exit 4", nullptr), 4);
}

TEST(Execl, NoChildWaitIsLiftedAndRestored)
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    action.sa_flags = SA_NOCLDWAIT;
    ASSERT_EQ(sigaction(SIGCHLD, &action, nullptr), 0);

    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "exit 5", nullptr), 5);

    struct sigaction after {};
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &after), 0);
    EXPECT_TRUE(after.sa_flags & SA_NOCLDWAIT);

    action.sa_flags = 0;
    sigaction(SIGCHLD, &action, nullptr);
}

// What the program finds at its start, one bit per property: the exit
// status is the set of properties that hold. $1 is a lock file descriptor.
constexpr char kObserveStart[] =
    "s=0; "
    "[ \"$(nice)\" = 0 ] && s=$((s|1)); "
    "[ \"$(tr '\\0' '\\n' </proc/$$/environ)\" = \"PATH=$PATH\" ] && s=$((s|2)); "
    "[ /proc/$$/fd/0 -ef /dev/null ] && [ /proc/$$/fd/1 -ef /dev/null ] && [ /proc/$$/fd/2 -ef /dev/null ] && "
    "s=$((s|4)); "
    "[ -e /proc/$$/fd/9 ] && s=$((s|8)); "
    "[ -e /proc/$$/fd/$1 ] && s=$((s|16)); "
    "read -r pid comm state ppid pgrp sid rest </proc/$$/stat; [ \"$sid\" = $$ ] && s=$((s|32)); "
    "[ \"$(pwd -P)\" = / ] && s=$((s|64)); "
    "exit $s";

bool StdioIsNullHere()
{
    struct stat null {};
    stat("/dev/null", &null);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        struct stat st {};
        if (fstat(fd, &st) != 0 || st.st_rdev != null.st_rdev || !S_ISCHR(st.st_mode)) {
            return false;
        }
    }
    return true;
}

// The properties kObserveStart should find after a start with flags, from a
// caller at nice 5 that holds a lock file and descriptor 9 open and has an
// extra environment variable.
int ExpectedStart(int flags)
{
    int expected = 0;
    if ((flags & FORK_FLAG_RESET_PRIORITY) && geteuid() == 0) {
        expected |= 1; // lowering the nice value needs privilege
    }
    if (flags & FORK_FLAG_CLEAR_ENV) {
        expected |= 2;
    }
    if ((flags & FORK_FLAG_NULL_STDIO) || StdioIsNullHere()) {
        expected |= 4;
    }
    if (!(flags & FORK_FLAG_CLOSE_FDS)) {
        expected |= 8;
    }
    if (flags & FORK_FLAG_SETSID) {
        expected |= 32;
    }
    if ((flags & FORK_FLAG_CHDIR_ROOT) || std::filesystem::current_path() == "/") {
        expected |= 64;
    }
    return expected; // lock files never reach the program
}

TEST(Execl, PreparesTheProgramsStartAsFlagged)
{
    ASSERT_EQ(setpriority(PRIO_PROCESS, 0, 5), 0);
    setenv("VELKC_TEST_MARKER", "1", 1);
    const int extra = open("/dev/null", O_RDONLY);
    ASSERT_EQ(dup2(extra, 9), 9);
    auto *table = static_cast<VELKCFileLock *>(VELKCFileLockTableGet());
    ASSERT_NE(table, nullptr);
    table[2].pFile = std::fopen("/dev/null", "r");
    const std::string lockFd = std::to_string(fileno(table[2].pFile));
    sigset_t usr1, before, after;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &before);

    constexpr int kAll = FORK_FLAG_RESET_PRIORITY | FORK_FLAG_CLEAR_ENV | FORK_FLAG_CLOSE_LOCKS |
                         FORK_FLAG_NULL_STDIO | FORK_FLAG_CLOSE_FDS | FORK_FLAG_SETSID | FORK_FLAG_CHDIR_ROOT;
    for (int flags : {0, kAll, 0xBB, int{FORK_FLAG_RESET_PRIORITY}, int{FORK_FLAG_CLEAR_ENV},
                      int{FORK_FLAG_CLOSE_LOCKS}, int{FORK_FLAG_NULL_STDIO}, int{FORK_FLAG_CLOSE_FDS},
                      int{FORK_FLAG_SETSID}, int{FORK_FLAG_CHDIR_ROOT}}) {
        EXPECT_EQ(VELKCExecl("/bin/sh", flags, "-c", kObserveStart, "sh", lockFd.c_str(), nullptr),
                  ExpectedStart(flags))
            << "flags " << flags;
    }
    // The program starts with the caller's signal mask (the shell would reset it).
    EXPECT_EQ(VELKCExecl("/bin/grep", 0, "-q", "^SigBlk:[[:space:]]*0*200$", "/proc/self/status", nullptr), 0);

    // The caller keeps its signal mask, lock file and descriptors.
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_TRUE(sigismember(&after, SIGUSR1));
    EXPECT_EQ(sigismember(&after, SIGTERM), sigismember(&before, SIGTERM));
    EXPECT_NE(fcntl(fileno(table[2].pFile), F_GETFD), -1);
    EXPECT_EQ(VELKCFileCloseLock(), 0);
    close(9);
    close(extra);
    unsetenv("VELKC_TEST_MARKER");
    setpriority(PRIO_PROCESS, 0, 0);
}

TEST(Execl, DaemonStartReportsNoStatus)
{
    EXPECT_EQ(VELKCExecl("/bin/true", FORK_FLAG_DAEMON, nullptr), 0);
}

TEST(Execl, ConcurrentCallersEachGetTheirStatus)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([t] {
            const std::string script = "exit " + std::to_string(t + 1);
            for (int i = 0; i < 10; ++i) {
                EXPECT_EQ(VELKCExecl("/bin/sh", FORK_FLAG_CLEAR_ENV, "-c", script.c_str(), nullptr), t + 1);
            }
        });
    }
    for (auto &thread : threads) {
        thread.join();
    }
}

TEST(Exec, RunsWithTheStandardPreparations)
{
    // The child runs in "/" with only PATH in its environment.
    setenv("VELKC_TEST_MARKER", "1", 1);
    EXPECT_EQ(VELKCExec("/bin/sh", "-c", "test \"$(pwd)\" = / && test -z \"$VELKC_TEST_MARKER\"", nullptr,
                        nullptr),
              0);
    unsetenv("VELKC_TEST_MARKER");
}

int OnlyPathInEnvironment()
{
    return environ[0] != nullptr && std::strncmp(environ[0], "PATH=", 5) == 0 && environ[1] == nullptr ? 0 : 1;
}

int EmptyEnvironment() { return environ == nullptr || environ[0] == nullptr ? 0 : 1; }

TEST(ForkEx, ClearEnvKeepsOnlyPath)
{
    setenv("VELKC_TEST_MARKER", "1", 1);
    EXPECT_EQ(RunInChild(FORK_FLAG_CLEAR_ENV, OnlyPathInEnvironment), 0);
    unsetenv("VELKC_TEST_MARKER");
}

TEST(ForkEx, ClearEnvWithoutPathLeavesNothing)
{
    const std::string path = std::getenv("PATH") ? std::getenv("PATH") : "";
    unsetenv("PATH");
    EXPECT_EQ(RunInChild(FORK_FLAG_CLEAR_ENV, EmptyEnvironment), 0);
    setenv("PATH", path.c_str(), 1);
}

int StdioIsNull()
{
    struct stat null {};
    struct stat out {};
    stat("/dev/null", &null);
    fstat(STDOUT_FILENO, &out);
    return out.st_rdev == null.st_rdev && S_ISCHR(out.st_mode) ? 0 : 1;
}

TEST(ForkEx, NullStdio) { EXPECT_EQ(RunInChild(FORK_FLAG_NULL_STDIO, StdioIsNull), 0); }

int Fd3IsClosed() { return fcntl(3, F_GETFD) == -1 ? 0 : 1; }

TEST(ForkEx, CloseFds)
{
    const int fd = open("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 3);
    const int moved = dup2(fd, 3);
    ASSERT_EQ(moved, 3);
    EXPECT_EQ(RunInChild(FORK_FLAG_CLOSE_FDS, Fd3IsClosed), 0);
    if (fd != 3) {
        close(fd);
    }
}

TEST(ForkEx, DaemonParentLearnsTheIntermediateChildEndedCleanly)
{
    const int r = VELKCProcForkEx(FORK_FLAG_DAEMON);
    if (r == 0) {
        _exit(0); // the grandchild
    }
    EXPECT_EQ(r, 1);
}

// Runs in a helper child: with a private /dev holding a log socket of its
// own, and a process limit that lets the first fork through but not the
// second, a daemon fork must fail and log. Writes what the log socket got to
// out; exits 77 where namespaces or credentials are not available.
[[noreturn]] void LogFailedDaemonFork(int out)
{
    constexpr int kSkip = 77;
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0) {
        _exit(kSkip);
    }
    const int log = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strcpy(addr.sun_path, "/dev/log");
    if (bind(log, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 || chmod("/dev/log", 0666) != 0) {
        _exit(1);
    }
    // A user of its own, as the process limit does not bind root. The limit
    // counts threads, and a sanitizer may run one of its own here.
    const auto tasks = static_cast<rlim_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                                         std::filesystem::directory_iterator()));
    const rlimit oneMoreProcess{tasks + 1, tasks + 1};
    if (setgid(54321) != 0 || setuid(54321) != 0 || setrlimit(RLIMIT_NPROC, &oneMoreProcess) != 0) {
        _exit(kSkip);
    }
    if (VELKCProcForkEx(FORK_FLAG_DAEMON) == 0) {
        _exit(0); // not reached while the limit holds
    }
    char line[512] = {};
    const timeval timeout{5, 0};
    setsockopt(log, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    const ssize_t n = recv(log, line, sizeof line - 1, 0);
    _exit(n > 0 && write(out, line, static_cast<size_t>(n)) == n ? 0 : 1);
}

TEST(ForkEx, FailedDaemonForkIsLogged)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        LogFailedDaemonFork(fds[1]);
    }
    close(fds[1]);
    char line[512] = {};
    const ssize_t n = read(fds[0], line, sizeof line - 1);
    close(fds[0]);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 77) {
        GTEST_SKIP() << "needs a mount namespace and another user";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_GT(n, 0);
    EXPECT_STREQ(line, "<11>test_proc: proc_fork:83 Failed to fork(). errno=[11/Resource temporarily unavailable]");
}

// The lock table.

VELKCFileLock *Table() { return static_cast<VELKCFileLock *>(VELKCFileLockTableGet()); }

TEST(LockTable, HoldsTheLockFilesInOrder)
{
    VELKCFileLock *table = Table();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(Table(), table); // one table per thread
    EXPECT_EQ(table[0].uBit, 0x00000800u);
    EXPECT_STREQ(table[0].szPath, "/run/kovasdk/lock/lock_kovainfo");
    EXPECT_EQ(table[5].uBit, 0x00000040u);
    EXPECT_STREQ(table[26].szPath, "/run/kovasdk/lock/lock_sshd_refernce");
    EXPECT_EQ(table[27].uBit, 0x80000000u);
    EXPECT_EQ(table[28].uBit, 0u);
    EXPECT_STREQ(table[28].szPath, "");
    unsigned all = 0;
    for (int i = 0; i < 28; ++i) {
        EXPECT_EQ(table[i].pFile, nullptr);
        EXPECT_EQ(all & table[i].uBit, 0u) << "bit used twice at " << i;
        all |= table[i].uBit;
    }
    EXPECT_EQ(all, 0xFFFFFFF0u);
}

TEST(LockTable, CloseLockWithNothingOpen) { EXPECT_EQ(VELKCFileCloseLock(), 0); }

int TableIsReset()
{
    const VELKCFileLock *table = Table();
    for (int i = 0; i < 28; ++i) {
        if (table[i].pFile != nullptr || table[i].nLock != 0 || table[i].nLock2 != 0) {
            return 1;
        }
    }
    return 0;
}

TEST(LockTable, ForkedChildHoldsNoLocks)
{
    VELKCFileLock *table = Table();
    ASSERT_NE(table, nullptr);
    table[3].pFile = std::fopen("/dev/null", "r");
    table[3].nLock = 1;
    table[3].nLock2 = 2;

    const pid_t pid = fork();
    if (pid == 0) {
        _exit(TableIsReset());
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    // The parent keeps its locks until it closes them.
    EXPECT_NE(table[3].pFile, nullptr);
    EXPECT_EQ(VELKCFileCloseLock(), 0);
    EXPECT_EQ(table[3].pFile, nullptr);
    EXPECT_EQ(table[3].nLock, 0);
    table[3].nLock2 = 0;
}

} // namespace
