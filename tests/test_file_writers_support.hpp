// Support for the writer and rewrite tests: a private scratch directory,
// whole-file reads and writes, and a table of every configuration writer
// called with typical arguments.
#pragma once

#include <velkc.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace writers_test {

namespace fs = std::filesystem;

inline std::string ReadFile(const fs::path &path)
{
    // Whole buffers rather than characters: sanitizer builds read large
    // files many times over.
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return std::move(text).str();
}

inline void WriteFile(const fs::path &path, const std::string &text)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline std::set<std::string> ListDir(const fs::path &dir)
{
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(dir)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

inline bool IsRoot() { return geteuid() == 0; }

// Runs body in a child process that ends with _exit(body()), so that the
// child never returns into the test framework.
inline pid_t ForkChild(const std::function<int()> &body)
{
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(body());
    }
    return pid;
}

// The wait status of a child; -1 when it cannot be waited for.
inline int WaitChild(pid_t pid)
{
    int status = -1;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

// Clears the error record before a call under test.
inline void ResetError() { VELKCErrSetEx(0, "test", 0); }

// A fresh directory of its own for every test, removed afterwards.
class ScratchDir : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[] = "/tmp/velkc-writers-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir_ = name;
    }
    void TearDown() override { fs::remove_all(dir_); }

    fs::path Path(const char *name) const { return dir_ / name; }

    fs::path dir_;
};

// Owns a hash holding the given pairs.
struct PairHash {
    PairHash(std::initializer_list<std::pair<const char *, const char *>> pairs)
    {
        for (const auto &[key, value] : pairs) {
            VELKCSzHashSetValue(&hash, key, value);
        }
    }
    ~PairHash() { VELKCSzHashFree(hash); }
    PairHash(const PairHash &) = delete;
    PairHash &operator=(const PairHash &) = delete;

    SzHash *hash = VELKCSzHashAlloc(512);
};

// The lines every writer of the table can work on.
inline const std::string kBase = "k1=v1\nk2=v2\n#c=1\n[s]\nm=1\n";

// Owns the containers a writer call needs.
struct Args {
    Args()
    {
        VELKCSzHashSetValue(&hash, "k1", "z");
        VELKCSzListPush(&keys, "k1");
    }
    ~Args()
    {
        VELKCSzHashFree(hash);
        VELKCSzListFree(keys);
    }
    Args(const Args &) = delete;
    Args &operator=(const Args &) = delete;

    SzHash *hash = VELKCSzHashAlloc(512);
    SzList *keys = VELKCSzListAlloc(512);
};

struct Writer {
    const char *name;
    // Changes a file holding kBase; returns the writer's result.
    std::function<int(const char *path, Args &args)> call;
    // Result of that call on kBase.
    int result;
    // Rewrites through a temporary file rather than appending in place.
    bool rewrites;
};

inline const std::vector<Writer> &AllWriters()
{
    static const std::vector<Writer> writers = {
        {"SetKeyValue", [](const char *p, Args &) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); }, 1, true},
        {"AppendKey", [](const char *p, Args &) { return VELKCFileAppendKey(p, "k9", "v", nullptr); }, 1, false},
        {"RemoveKey", [](const char *p, Args &) { return VELKCFileRemoveKey(p, "k2"); }, 1, true},
        {"AddLine", [](const char *p, Args &) { return VELKCFileAddLine(p, "k2", "new", 0); }, 1, true},
        {"AddLineAppend",
         [](const char *p, Args &) { return VELKCFileAddLine(p, nullptr, "new", MATCH_FLAG_AFTER); }, 1, false},
        {"AddLineByKey",
         [](const char *p, Args &a) { return VELKCFileAddLineByKey(p, a.keys, "new", 0, "=\n"); }, 1, true},
        {"AddLineByKeyAppend",
         [](const char *p, Args &) { return VELKCFileAddLineByKey(p, nullptr, "new", MATCH_FLAG_AFTER, "="); }, 0,
         false},
        {"SetLine", [](const char *p, Args &) { return VELKCFileSetLine(p, "k2", "k2=z", 0); }, 1, true},
        {"SetLineByKey", [](const char *p, Args &a) { return VELKCFileSetLineByKey(p, a.keys, "k1=z", "=\n"); }, 1,
         true},
        {"ReplaceSubStr", [](const char *p, Args &) { return VELKCFileReplaceSubStr(p, "v1", "w1"); }, 1, true},
        {"LineComment", [](const char *p, Args &) { return VELKCFileLineComment(p, "k2", 0); }, 1, true},
        {"SetKeys", [](const char *p, Args &a) { return VELKCFileSetKeys(p, a.hash, nullptr, nullptr); }, 1, true},
        {"AddSection", [](const char *p, Args &a) { return VELKCFileAddSection(p, "t", a.hash, nullptr); }, 1,
         false},
        {"ModifySection",
         [](const char *p, Args &a) {
             return VELKCIFileModifySection(p, "s", nullptr, a.hash, SECTION_FLAG_REPLACE, nullptr);
         },
         1, true},
    };
    return writers;
}

} // namespace writers_test
