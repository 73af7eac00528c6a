// Running programs: exit statuses, the SIGCHLD disposition, child-side
// preparations and the lock table in forked children.
#include <velkc.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
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
