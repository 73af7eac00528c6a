// Running programs: exit statuses, the SIGCHLD disposition, child-side
// preparations and the lock table in forked children.
#include "internal/internal.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <regex>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

extern char **environ;

using namespace test;

namespace {

TEST(Execl, ReportsTheProgramsExitStatus)
{
    ResetError();
    EXPECT_EQ(VELKCExecl("/bin/true", 0, nullptr), 0);
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "exit 3", nullptr), 3);
    // $0 is the path itself, then the arguments in order.
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "test \"$0:$1:$2\" = x:y:z", "x", "y", "z", nullptr), 0);
    EXPECT_EQ(VELKCExecl("/bin/sh", EXEC_FLAG_CREDENTIALS, "-c", "exit 4", nullptr), 4);
    // A program that cannot be run gives 255; PATH is not searched.
    EXPECT_EQ(VELKCExecl("/nonexistent/program", 0, nullptr), 255);
    EXPECT_EQ(VELKCExecl("true", 0, nullptr), 255);
    // A daemon start reports no status.
    EXPECT_EQ(VELKCExecl("/bin/true", FORK_FLAG_DAEMON, nullptr), 0);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

TEST(Execl, KilledChildIsAnError)
{
    ResetError();
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "kill -KILL $$", nullptr), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_OPERATION_FAILED});
    EXPECT_STREQ(VELKCErrorGetFile(), "proc_execl");
}

TEST(Execl, NoChildWaitIsLiftedAndRestored)
{
    const Guard noChildWait = SetSignal(SIGCHLD, SIG_DFL, SA_NOCLDWAIT);
    EXPECT_EQ(VELKCExecl("/bin/sh", 0, "-c", "exit 5", nullptr), 5);
    struct sigaction after {};
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &after), 0);
    EXPECT_TRUE(after.sa_flags & SA_NOCLDWAIT);
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
// caller at nice 5, in a directory other than "/", that holds a lock file
// and descriptor 9 open and has an extra environment variable.
int ExpectedStart(int flags)
{
    const auto bit = [](bool holds, int value) { return holds ? value : 0; };
    // Lowering the nice value needs privilege; lock files never reach the program.
    return bit((flags & FORK_FLAG_RESET_PRIORITY) && geteuid() == 0, 1) | bit(flags & FORK_FLAG_CLEAR_ENV, 2) |
           bit((flags & FORK_FLAG_NULL_STDIO) || StdioIsNullHere(), 4) | bit(!(flags & FORK_FLAG_CLOSE_FDS), 8) |
           bit(flags & FORK_FLAG_SETSID, 32) | bit(flags & FORK_FLAG_CHDIR_ROOT, 64);
}

// Lowers the priority of the process; raising it back needs privilege.
Guard SetNice(int nice)
{
    EXPECT_EQ(setpriority(PRIO_PROCESS, 0, nice), 0);
    return Guard([] { setpriority(PRIO_PROCESS, 0, 0); });
}

TEST(Execl, PreparesTheProgramsStartAsFlagged)
{
    const Guard nice = SetNice(5);
    const Guard marker = SetEnv("VELKC_TEST_MARKER", "1");
    const TempDir dir;
    const Guard cwd = ChangeDir(dir.path());
    const velkc::UniqueFd extra(open("/dev/null", O_RDONLY));
    const velkc::UniqueFd nine(dup2(extra.get(), 9));
    ASSERT_EQ(nine.get(), 9);
    auto *table = static_cast<VELKCFileLock *>(VELKCFileLockTableGet());
    ASSERT_NE(table, nullptr);
    table[2].pFile = std::fopen("/dev/null", "r");
    const std::string lockFd = std::to_string(fileno(table[2].pFile));
    sigset_t usr1, before, after;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &usr1, &before);

    constexpr int kAll = FORK_FLAG_RESET_PRIORITY | FORK_FLAG_CLEAR_ENV | FORK_FLAG_CLOSE_LOCKS | FORK_FLAG_NULL_STDIO |
                         FORK_FLAG_CLOSE_FDS | FORK_FLAG_SETSID | FORK_FLAG_CHDIR_ROOT;
    for (int flags :
         {0, kAll, 0xBB, int{FORK_FLAG_RESET_PRIORITY}, int{FORK_FLAG_CLEAR_ENV}, int{FORK_FLAG_CLOSE_LOCKS},
          int{FORK_FLAG_NULL_STDIO}, int{FORK_FLAG_CLOSE_FDS}, int{FORK_FLAG_SETSID}, int{FORK_FLAG_CHDIR_ROOT}}) {
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
}

TEST(Execl, ConcurrentCallersEachGetTheirStatus)
{
    std::vector<std::jthread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([t] {
            const std::string script = "exit " + std::to_string(t + 1);
            for (int i = 0; i < 10; ++i) {
                EXPECT_EQ(VELKCExecl("/bin/sh", FORK_FLAG_CLEAR_ENV, "-c", script.c_str(), nullptr), t + 1);
            }
        });
    }
}

TEST(Exec, RunsWithTheStandardPreparations)
{
    // The child runs in "/" with only PATH in its environment.
    const Guard marker = SetEnv("VELKC_TEST_MARKER", "1");
    EXPECT_EQ(VELKCExec("/bin/sh", "-c", "test \"$(pwd)\" = / && test -z \"$VELKC_TEST_MARKER\"", nullptr, nullptr), 0);
}

TEST(ForkEx, ClearEnvWithoutPathLeavesNothing)
{
    const Guard noPath = SetEnv("PATH", nullptr);
    const int pid = VELKCProcForkEx(FORK_FLAG_CLEAR_ENV);
    if (pid == 0) {
        _exit(environ == nullptr || environ[0] == nullptr ? 0 : 1);
    }
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WaitChild(pid), 0);
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
    const auto tasks = static_cast<rlim_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator()));
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
    EXPECT_GT(read(fds[0], line, sizeof line - 1), 0);
    close(fds[0]);
    const int status = WaitChild(pid);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) {
        GTEST_SKIP() << "needs a mount namespace and another user";
    }
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(std::regex_match(
        line,
        std::regex(
            R"(<11>test_proc: proc_fork:\d+ Failed to fork\(\)\. errno=\[11/Resource temporarily unavailable\])")))
        << line;
}

// The lock table.

VELKCFileLock *Table() { return static_cast<VELKCFileLock *>(VELKCFileLockTableGet()); }

// Lock files at paths of their own, each with a bit of its own, up to an
// empty entry; none open.
TEST(LockTable, OneTablePerThreadWithABitPerLockFile)
{
    VELKCFileLock *table = Table();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(Table(), table);
    VELKCFileLock *other = nullptr;
    std::thread([&] { other = Table(); }).join();
    EXPECT_NE(other, table);
    std::set<std::string> paths;
    unsigned all = 0;
    int i = 0;
    for (; table[i].uBit != 0; ++i) {
        EXPECT_EQ(table[i].pFile, nullptr);
        EXPECT_EQ(all & table[i].uBit, 0u) << "bit used twice at " << i;
        EXPECT_TRUE(paths.insert(table[i].szPath).second) << table[i].szPath;
        all |= table[i].uBit;
    }
    EXPECT_EQ(i, 28);
    EXPECT_STREQ(table[i].szPath, "");
    EXPECT_EQ(VELKCFileCloseLock(), 0);
}

TEST(LockTable, ForkedChildHoldsNoLocks)
{
    VELKCFileLock *table = Table();
    ASSERT_NE(table, nullptr);
    table[3].pFile = std::fopen("/dev/null", "r");
    table[3].nLock = 1;
    table[3].nLock2 = 2;
    EXPECT_EQ(ExitOfChild([] {
                  const VELKCFileLock *child = Table();
                  return std::all_of(child, child + 28,
                                     [](const VELKCFileLock &lock) {
                                         return lock.pFile == nullptr && lock.nLock == 0 && lock.nLock2 == 0;
                                     })
                             ? 0
                             : 1;
              }),
              0);

    // The parent keeps its locks until it closes them.
    EXPECT_NE(table[3].pFile, nullptr);
    EXPECT_EQ(VELKCFileCloseLock(), 0);
    EXPECT_EQ(table[3].pFile, nullptr);
    EXPECT_EQ(table[3].nLock, 0);
    table[3].nLock2 = 0;
}

} // namespace
