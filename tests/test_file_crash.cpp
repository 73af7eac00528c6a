// A writer killed at any moment: the file is always one of the complete
// versions it could have written, and where the file system can make
// unnamed files hardly any temporary file is left beside it.
#include "file_support.hpp"
#include "internal/internal.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <string_view>
#include <thread>

using namespace test;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kKills = 300;
constexpr int kBulkLines = 4000; // about 280 KB
const char *const kValues[] = {"first", "second"};

std::string BulkLine(int i) { return "bulk" + std::to_string(i) + "=" + std::string(60, char('a' + i % 26)); }

// Rewrites the key and appends and removes a line at the end until killed;
// 1 as soon as a call fails.
int Churn(const char *path)
{
    for (;;) {
        for (const char *value : kValues) {
            if (VELKCFileSetKeyValue(path, "k", value, nullptr) < 0 ||
                VELKCFileAppendKey(path, "extra", "1", nullptr) < 0 || VELKCFileRemoveKey(path, "extra") < 0) {
                return 1;
            }
        }
    }
}

// The bulk lines alone, in order.
const std::string &Bulk()
{
    static const std::string text = [] {
        std::string lines;
        for (int i = 0; i < kBulkLines; ++i) {
            lines += BulkLine(i) + "\n";
        }
        return lines;
    }();
    return text;
}

// The starting file: the key line amid the bulk lines.
std::string Original()
{
    std::string text = Bulk();
    return text.insert(text.find(BulkLine(kBulkLines / 2)), "k=first\n");
}

// Empty when text is a version Churn can leave behind, else what is wrong:
// every bulk line in order, one key line of either value, at most one
// appended line.
std::string Damage(std::string_view text)
{
    if (!text.ends_with('\n')) {
        return "no final newline";
    }
    std::string_view bulk = Bulk();
    int keys = 0;
    int extras = 0;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        text.remove_prefix(line.size());
        if (line == "k=first\n" || line == "k=second\n") {
            ++keys;
        } else if (line == "extra=1\n") {
            ++extras;
        } else if (bulk.starts_with(line)) {
            bulk.remove_prefix(line.size());
        } else {
            return "unexpected line \"" + std::string(line.substr(0, 80)) + "\"";
        }
    }
    if (keys != 1 || extras > 1 || !bulk.empty()) {
        return std::to_string(keys) + " key lines, " + std::to_string(extras) + " appended lines, " +
               std::to_string(bulk.size()) + " bytes of bulk lines missing";
    }
    return {};
}

bool HasUnnamedFiles(const fs::path &dir)
{
    return static_cast<bool>(velkc::UniqueFd(open(dir.c_str(), O_TMPFILE | O_WRONLY, 0600)));
}

unsigned Seed()
{
    const char *fixed = std::getenv("VELKC_CRASH_SEED");
    return fixed != nullptr ? static_cast<unsigned>(std::strtoul(fixed, nullptr, 10)) : std::random_device{}();
}

using Crash = ScratchTest;

TEST_F(Crash, KilledWriterLeavesACompleteVersion)
{
    const fs::path conf = Path("conf");
    WriteFile(conf, Original());

    // Kills land anywhere in a cycle of two rewrites and an append: up to
    // two and a half rewrites, between 3 and 40 ms.
    const Clock::time_point start = Clock::now();
    ASSERT_EQ(VELKCFileSetKeyValue(conf.c_str(), "k", "first", nullptr), 1);
    const auto rewrite = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
    const int maxDelayUs = static_cast<int>(std::clamp<long long>(5 * rewrite / 2, 3000, 40000));

    const unsigned seed = Seed();
    std::printf("seed %u (VELKC_CRASH_SEED), delays up to %d us\n", seed, maxDelayUs);
    std::fflush(stdout);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayUs(0, maxDelayUs);

    int leftovers = 0;
    for (int round = 0; round < kKills; ++round) {
        const pid_t pid = ForkChild([&] { return Churn(conf.c_str()); });
        ASSERT_GT(pid, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(delayUs(random)));
        kill(pid, SIGKILL);
        const int status = WaitChild(pid);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed on its own in round " << round;
        ASSERT_EQ(Damage(ReadFile(conf)), "") << "round " << round;
        for (const std::string &name : ListDir(dir_)) {
            if (name != "conf") {
                ++leftovers;
                fs::remove(dir_ / name);
            }
        }
    }
    std::printf("%d kills, %d files left beside the target\n", kKills, leftovers);
    // Only a kill between naming the unnamed file and the rename, a few
    // microseconds of each rewrite, can leave one: about 1 in 100 random
    // kills, against 2 in 3 when the file had its name from the start.
    if (HasUnnamedFiles(dir_)) {
        EXPECT_LE(leftovers * 20, kKills);
    }
}

} // namespace
