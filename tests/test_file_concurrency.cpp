// Writers of one file in several processes and threads at once: they take
// turns, so no change is lost, and a writer that cannot get the file gives
// up after the lock timeout with the file untouched.
#include "file/path_walk.hpp"
#include "file/write_lock.hpp"
#include "file_support.hpp"
#include "internal/internal.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <set>
#include <thread>

using namespace test;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kKeysEach = 50;

std::string Key(int writer, int i) { return "w" + std::to_string(writer) + "k" + std::to_string(i); }
std::string Value(int writer, int i) { return "v" + std::to_string(writer * 1000 + i); }

long MillisSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// Writer number w adds its keys to path; true when every call said so.
using AddKeys = bool (*)(const char *path, int w);

bool BySetKeyValue(const char *path, int w)
{
    for (int i = 0; i < kKeysEach; ++i) {
        if (VELKCFileSetKeyValue(path, Key(w, i).c_str(), Value(w, i).c_str(), nullptr) != 1) {
            return false;
        }
    }
    return true;
}

// Appends in place and rewrites whole files in turn.
bool ByAppendKeyAndSetKeys(const char *path, int w)
{
    for (int i = 0; i < kKeysEach; ++i) {
        const std::string key = Key(w, i);
        const std::string value = Value(w, i);
        const PairHash pair{{key.c_str(), value.c_str()}};
        const int result = i % 2 == 0 ? VELKCFileAppendKey(path, key.c_str(), value.c_str(), nullptr)
                                      : VELKCFileSetKeys(path, pair.get(), nullptr, nullptr);
        if (result != 1) {
            return false;
        }
    }
    return true;
}

class Concurrency : public ScratchTest {
protected:
    void SetUp() override { WriteFile(conf_, kBase); }

    // The keys of n writers that are not in the file exactly once with
    // their value; the file must hold nothing else beside kBase.
    int Lost(int n) const
    {
        const std::string text = ReadFile(conf_);
        EXPECT_TRUE(text.starts_with(kBase) && text.ends_with("\n"));
        std::multiset<std::string> lines;
        std::istringstream rest(text.substr(std::min(kBase.size(), text.size())));
        for (std::string line; std::getline(rest, line);) {
            lines.insert(line);
        }
        int lost = 0;
        for (int w = 0; w < n; ++w) {
            for (int i = 0; i < kKeysEach; ++i) {
                lost += lines.erase(Key(w, i) + "=" + Value(w, i)) != 1;
            }
        }
        EXPECT_TRUE(lines.empty()) << lines.size() << " lines of no writer";
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
        return lost;
    }

    // Holds the writers' lock of the file as another writer would: with the
    // library's own lock code, built into this test.
    std::unique_ptr<velkc::WriteLock> HoldLock() const
    {
        velkc::ResolvedTarget target;
        EXPECT_EQ(velkc::ResolveTarget(conf_.c_str(), target), velkc::kOk);
        auto lock = std::make_unique<velkc::WriteLock>();
        EXPECT_EQ(lock->Acquire(target.dir.get(), target.dirStat, target.name, velkc::MonotonicNanos()), velkc::kOk);
        return lock;
    }

    const fs::path conf_ = Path("conf");
};

TEST_F(Concurrency, WritersLoseNoKey)
{
    struct Run {
        const char *name;
        AddKeys add;
        int n;
        bool threads; // else processes
    };
    const Run runs[] = {
        {"SetKeyValue", BySetKeyValue, 2, false},
        {"SetKeyValue", BySetKeyValue, 4, false},
        {"SetKeyValue", BySetKeyValue, 8, false},
        {"AppendKey+SetKeys", ByAppendKeyAndSetKeys, 2, false},
        {"AppendKey+SetKeys", ByAppendKeyAndSetKeys, 4, false},
        {"AppendKey+SetKeys", ByAppendKeyAndSetKeys, 8, false},
        {"SetKeyValue", BySetKeyValue, 4, true},
    };
    for (const Run &run : runs) {
        WriteFile(conf_, kBase);
        std::vector<int> ok(run.n);
        {
            std::vector<std::jthread> threads;
            std::vector<pid_t> children;
            for (int w = 0; w < run.n; ++w) {
                if (run.threads) {
                    threads.emplace_back([&, w] { ok[w] = run.add(conf_.c_str(), w); });
                } else {
                    children.push_back(ForkChild([&, w] { return run.add(conf_.c_str(), w) ? 0 : 1; }));
                }
            }
            for (int w = 0; w < static_cast<int>(children.size()); ++w) {
                ok[w] = WaitChild(children[w]) == 0;
            }
        }
        const int lost = Lost(run.n);
        const auto failed = std::count(ok.begin(), ok.end(), 0);
        std::printf("%s, %d %s: %d lost of %d, %ld writers failed\n", run.name, run.n,
                    run.threads ? "threads" : "processes", lost, run.n * kKeysEach, failed);
        EXPECT_EQ(failed, 0);
        EXPECT_EQ(lost, 0);
    }
}

// Read-modify-write through transactions: every increment of a counter by
// every process counts.
TEST_F(Concurrency, TransactionsLoseNoIncrement)
{
    constexpr int kProcesses = 8;
    constexpr int kIncrements = 200;
    WriteFile(conf_, "[counter]\nvalue = 0\n");
    const auto increment = [&] {
        for (int i = 0; i < kIncrements; ++i) {
            VELKCFileEdit *edit = VELKCFileEditOpen(conf_.c_str(), EDIT_FLAG_EXISTING);
            char value[32];
            if (edit == nullptr || VELKCFileEditGetValue(edit, "counter", "value", value, sizeof value) <= 0) {
                VELKCFileEditAbort(edit);
                return 1;
            }
            const std::string next = std::to_string(std::stoi(value) + 1);
            if (VELKCFileEditSetValue(edit, "counter", "value", next.c_str()) != 1 || VELKCFileEditCommit(edit) != 1) {
                return 1;
            }
        }
        return 0;
    };
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        children.push_back(ForkChild(increment));
    }
    int failed = 0;
    for (const pid_t child : children) {
        failed += WaitChild(child) != 0;
    }
    char counter[32] = "?";
    VELKCFileGetSectionValue(conf_.c_str(), "counter", "value", counter, sizeof counter);
    std::printf("%d processes x %d increments: the counter reads %s\n", kProcesses, kIncrements, counter);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(ReadFile(conf_), "[counter]\nvalue = " + std::to_string(kProcesses * kIncrements) + "\n");
}

TEST_F(Concurrency, WritersGiveUpOnAHeldLock)
{
    const auto holder = HoldLock();
    const auto &writers = AllWriters();
    struct Outcome {
        int result = 0;
        unsigned error = 0;
        long ms = 0;
    };
    std::vector<Outcome> outcomes(writers.size());
    {
        // Every writer waits in a thread of its own, so the timeout is paid once.
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < writers.size(); ++i) {
            threads.emplace_back([&, i] {
                Args args;
                ResetError();
                const Clock::time_point start = Clock::now();
                outcomes[i].result = writers[i].call(conf_.c_str(), args);
                outcomes[i].error = VELKCErrGet();
                outcomes[i].ms = MillisSince(start);
            });
        }
        // Readers take no lock.
        const Clock::time_point start = Clock::now();
        char value[16];
        EXPECT_EQ(VELKCFileGetKeyValue(conf_.c_str(), "k1", value, sizeof(value), 0), 3);
        EXPECT_LT(MillisSince(start), 1000);
    }
    for (std::size_t i = 0; i < writers.size(); ++i) {
        SCOPED_TRACE(writers[i].name);
        EXPECT_EQ(outcomes[i].result, -1);
        EXPECT_EQ(outcomes[i].error, unsigned{ERR_LOCK_TIMEOUT});
        EXPECT_GE(outcomes[i].ms, VELKC_FILE_LOCK_TIMEOUT_MS - 250);
        EXPECT_LE(outcomes[i].ms, VELKC_FILE_LOCK_TIMEOUT_MS + 3000);
    }
    EXPECT_EQ(ReadFile(conf_), kBase);
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
}

// Children forked while other threads write, by fork() or VELKCProcForkEx,
// keep none of the writers' locks: their own writes go through, and the
// parent's writers go on while the children live.
TEST_F(Concurrency, ForkedChildrenKeepNoWritersLock)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's allocator may deadlock in the child of a threaded process";
#endif
    constexpr int kThreads = 4;
    constexpr int kBatches = 125;
    constexpr int kBatchSize = 8;
    std::atomic<bool> stop{false};
    std::atomic<long> progress[kThreads] = {};
    std::atomic<int> parentFailures{0};
    int childFailures = 0;
    int childTimeouts = 0;
    int batch = 0;
    {
        // Two threads each take turns creating one file, then removing it,
        // over and over, so that one often waits for the other's lock: a
        // lock a child kept would stall it. Each pauses between turns, so
        // that the polling waiter is not starved on a loaded machine.
        std::vector<std::jthread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                const fs::path file = Path("shared" + std::to_string(t / 2));
                while (!stop) {
                    parentFailures += VELKCFileSetKeyValue(file.c_str(), "k", "v", nullptr) != 1;
                    fs::remove(file);
                    ++progress[t];
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                }
            });
        }
        for (; batch < kBatches && parentFailures == 0 && childFailures == 0; ++batch) {
            int hold[2];
            ASSERT_EQ(pipe2(hold, O_CLOEXEC), 0);
            pid_t children[kBatchSize];
            for (int i = 0; i < kBatchSize; ++i) {
                children[i] = i % 2 == 0 ? fork() : VELKCProcForkEx(0);
                if (children[i] == 0) {
                    // Writes a file of its own, then lives until the batch is done.
                    close(hold[1]);
                    const std::string name = Path("child" + std::to_string(i)).string();
                    const int result = VELKCFileSetKeyValue(name.c_str(), "k", "v", nullptr);
                    const int status = result == 1 ? 0 : VELKCErrGet() == ERR_LOCK_TIMEOUT ? 2 : 1;
                    char byte;
                    (void)!read(hold[0], &byte, 1);
                    _exit(status);
                }
                ASSERT_GT(children[i], 0);
            }
            // Every writer thread gets on while all the children live (a
            // thread stalled by a child's lock fails once it times out).
            long seen[kThreads];
            for (int t = 0; t < kThreads; ++t) {
                seen[t] = progress[t];
            }
            for (int t = 0; t < kThreads; ++t) {
                while (progress[t] < seen[t] + 2 && parentFailures == 0) {
                    std::this_thread::yield();
                }
            }
            close(hold[1]);
            close(hold[0]);
            for (const pid_t child : children) {
                const int status = WaitChild(child);
                childFailures += !WIFEXITED(status) || WEXITSTATUS(status) != 0;
                childTimeouts += WIFEXITED(status) && WEXITSTATUS(status) == 2;
            }
        }
        stop = true;
    }
    std::printf("%d forks: %d children failed (%d timed out), %d of the parent's writes failed\n", batch * kBatchSize,
                childFailures, childTimeouts, parentFailures.load());
    EXPECT_EQ(childFailures, 0);
    EXPECT_EQ(parentFailures, 0);
}

} // namespace
