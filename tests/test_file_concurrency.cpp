// Writers of one file in several processes and threads at once: they take
// turns, so no change is lost, and a writer that cannot get the file gives
// up after the lock timeout with the file untouched.
#include "internal.hpp"
#include "test_file_writers_support.hpp"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <map>
#include <string_view>
#include <sys/file.h>
#include <thread>

using namespace writers_test;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kKeysEach = 50;

std::string Key(int writer, int i) { return "w" + std::to_string(writer) + "k" + std::to_string(i); }
std::string Value(int writer, int i) { return "v" + std::to_string(writer * 1000 + i); }

// The lines of a text, each without its "\n".
std::vector<std::string> SplitLines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

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
        if (i % 2 == 0) {
            if (VELKCFileAppendKey(path, key.c_str(), value.c_str(), nullptr) != 1) {
                return false;
            }
        } else {
            PairHash pair{{key.c_str(), value.c_str()}};
            if (VELKCFileSetKeys(path, pair.hash, nullptr, nullptr) != 1) {
                return false;
            }
        }
    }
    return true;
}

class Concurrency : public ScratchDir {
protected:
    void SetUp() override
    {
        ScratchDir::SetUp();
        conf_ = Path("conf");
        WriteFile(conf_, kBase);
    }

    // The keys of n writers that are not in the file exactly once with
    // their value; the file must hold nothing else beside kBase.
    int Lost(int n) const
    {
        std::multimap<std::string, std::string> pairs;
        const std::string text = ReadFile(conf_);
        EXPECT_TRUE(text.starts_with(kBase));
        EXPECT_TRUE(text.ends_with("\n"));
        int malformed = 0;
        for (const std::string &line : SplitLines(std::string_view(text).substr(std::min(kBase.size(), text.size())))) {
            const std::size_t eq = line.find('=');
            if (eq == std::string::npos) {
                ++malformed;
            } else {
                pairs.emplace(line.substr(0, eq), line.substr(eq + 1));
            }
        }
        EXPECT_EQ(malformed, 0) << "lines without \"=\"";
        EXPECT_EQ(pairs.size(), static_cast<std::size_t>(n * kKeysEach));
        int lost = 0;
        for (int w = 0; w < n; ++w) {
            for (int i = 0; i < kKeysEach; ++i) {
                const auto found = pairs.equal_range(Key(w, i));
                lost += std::distance(found.first, found.second) != 1 || found.first->second != Value(w, i);
            }
        }
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
        return lost;
    }

    // Holds the file's lock as another writer would, from an open file
    // description of its own.
    velkc::UniqueFd HoldLock() const
    {
        velkc::UniqueFd fd(open(conf_.c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_TRUE(fd);
        EXPECT_EQ(flock(fd.get(), LOCK_EX), 0);
        return fd;
    }

    fs::path conf_;
};

TEST_F(Concurrency, ProcessesLoseNoKey)
{
    for (const auto &[name, add] : {std::pair{"SetKeyValue", &BySetKeyValue},
                                    std::pair{"AppendKey+SetKeys", &ByAppendKeyAndSetKeys}}) {
        for (const int n : {2, 4, 8}) {
            SCOPED_TRACE(std::string(name) + " in " + std::to_string(n) + " processes");
            WriteFile(conf_, kBase);
            std::vector<pid_t> children;
            for (int w = 0; w < n; ++w) {
                children.push_back(ForkChild([&, w] { return add(conf_.c_str(), w) ? 0 : 1; }));
                ASSERT_GT(children.back(), 0);
            }
            int failed = 0;
            for (const pid_t pid : children) {
                const int status = WaitChild(pid);
                failed += !WIFEXITED(status) || WEXITSTATUS(status) != 0;
            }
            const int lost = Lost(n);
            std::printf("%s, %d processes: %d lost of %d, %d writers failed\n", name, n, lost, n * kKeysEach, failed);
            EXPECT_EQ(failed, 0);
            EXPECT_EQ(lost, 0);
        }
    }
}

TEST_F(Concurrency, ThreadsLoseNoKey)
{
    constexpr int n = 4;
    std::vector<int> ok(n);
    {
        std::vector<std::jthread> threads;
        for (int w = 0; w < n; ++w) {
            threads.emplace_back([&, w] { ok[w] = BySetKeyValue(conf_.c_str(), w); });
        }
    }
    const int lost = Lost(n);
    std::printf("SetKeyValue, %d threads: %d lost of %d\n", n, lost, n * kKeysEach);
    EXPECT_EQ(ok, std::vector<int>(n, 1));
    EXPECT_EQ(lost, 0);
}

TEST_F(Concurrency, WritersGiveUpOnAHeldLock)
{
    const velkc::UniqueFd holder = HoldLock();
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

TEST_F(Concurrency, WriterWaitsForALockReleasedSoon)
{
    const std::function<int(const char *)> calls[] = {
        [](const char *p) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); },
        [](const char *p) { return VELKCFileAppendKey(p, "k9", "y", nullptr); },
    };
    for (const auto &call : calls) {
        velkc::UniqueFd holder = HoldLock();
        const std::jthread release([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            holder.reset();
        });
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(call(conf_.c_str()), 1);
        EXPECT_GE(MillisSince(start), 90);
    }
    EXPECT_EQ(ReadFile(conf_), "k1=x\nk2=v2\n#c=1\n[s]\nm=1\nk9=y\n");
}

} // namespace
