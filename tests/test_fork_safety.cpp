// Forking while other threads are inside the Unicode functions: every child
// must still be able to use them, prepare itself and exec.
#include "support.hpp"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace test;

namespace {

constexpr const char *kTexts[] = {
    "straße",           "STRASSE", "Ärger im Büro", "ärger im büro", "plain ascii text",
    "PLAIN ASCII TEXT", "σίσυφος", "ΣΊΣΥΦΟΣ",       "ığüşöç",        "\u0390\u0390 mixed ascii",
};
constexpr std::size_t kTextCount = std::size(kTexts);

// Threads comparing and upper-casing text until the object goes away.
class BusyThreads : NoCopy {
public:
    explicit BusyThreads(unsigned n)
    {
        for (unsigned i = 0; i < n; ++i) {
            threads_.emplace_back([this, i] { Run(i); });
        }
    }
    ~BusyThreads()
    {
        stop_ = true;
        for (std::thread &t : threads_) {
            t.join();
        }
    }

private:
    void Run(unsigned seed)
    {
        char buf[128];
        for (std::size_t i = seed; !stop_.load(std::memory_order_relaxed); ++i) {
            VELKCUnicodeUTF8StrCaseCmp(kTexts[i % kTextCount], kTexts[(i * 7 + 3) % kTextCount]);
            VELKCUnicodeUTF8StrUpper(kTexts[i % kTextCount], buf, sizeof buf);
        }
    }

    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

// The child's wait status, or -1 if it did not end within the deadline (it
// is killed then).
int WaitWithDeadline(pid_t pid)
{
    const int fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    pollfd exited{fd, POLLIN, 0};
    const bool ended = fd >= 0 && poll(&exited, 1, 10'000) == 1;
    if (fd >= 0) {
        close(fd);
    }
    if (!ended) {
        kill(pid, SIGKILL);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return ended ? status : -1;
}

// Runs in the child; its exit status.
int UseUnicode(bool envCleared)
{
    char buf[32];
    const bool ok = VELKCUnicodeUTF8StrCaseCmp("Straße", "STRASSE") == 0 &&
                    VELKCUnicodeUTF8StrCaseCmp("ärger", "Ärgernis") < 0 &&
                    VELKCUnicodeUTF8StrUpper("ärger", buf, sizeof buf) == 6 && std::strcmp(buf, "ÄRGER") == 0 &&
                    (std::getenv("VELKC_FORK_MARKER") == nullptr) == envCleared;
    return ok ? 0 : 1;
}

TEST(ForkSafety, ChildrenOfABusyProcessFinish)
{
    const Guard marker = SetEnv("VELKC_FORK_MARKER", "1");
    constexpr int kBatches = 125;
    constexpr int kBatchSize = 8; // children run side by side: fewer waits for the scheduler
    int hung = 0;
    int failed = 0;
    {
        const BusyThreads busy(3);
        for (int batch = 0; batch < kBatches; ++batch) {
            pid_t pids[kBatchSize];
            for (int i = 0; i < kBatchSize; ++i) {
                const int flags = i % 2 ? FORK_FLAG_CLEAR_ENV | FORK_FLAG_CLOSE_LOCKS : 0;
                pids[i] = VELKCProcForkEx(flags);
                if (pids[i] == 0) {
                    _exit(UseUnicode(flags != 0));
                }
                ASSERT_GT(pids[i], 0);
            }
            for (const pid_t pid : pids) {
                const int status = WaitWithDeadline(pid);
                hung += status == -1;
                failed += status != -1 && !(WIFEXITED(status) && WEXITSTATUS(status) == 0);
            }
            if (batch % 5 == 0) {
                // A hang here shows as the test's timeout.
                EXPECT_EQ(VELKCExecl("/bin/sh", FORK_FLAG_CLEAR_ENV | FORK_FLAG_CLOSE_LOCKS, "-c",
                                     "test -z \"$VELKC_FORK_MARKER\" && exit 7", nullptr),
                          7);
            }
        }
    }
    std::printf("%d forks, %d hung, %d failed\n", kBatches * kBatchSize, hung, failed);
    EXPECT_EQ(hung, 0);
    EXPECT_EQ(failed, 0);
}

} // namespace
