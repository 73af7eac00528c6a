// Support for the project tests: guards that put back the process state a
// test changes (umask, environment variables, current directory, resource
// limits, signal dispositions), a scratch directory removed with all it
// holds, whole-file reads and writes, forked children and the error record.
#pragma once

#include <velkc.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace test {

namespace fs = std::filesystem;

// The guards below restore what they changed when they go out of scope.
class NoCopy {
public:
    NoCopy() = default;
    NoCopy(const NoCopy &) = delete;
    NoCopy &operator=(const NoCopy &) = delete;
};

class UmaskGuard : NoCopy {
public:
    explicit UmaskGuard(mode_t mask) : saved_(umask(mask)) {}
    ~UmaskGuard() { umask(saved_); }

private:
    mode_t saved_;
};

// Sets an environment variable, or unsets it for a null value.
class EnvGuard : NoCopy {
public:
    EnvGuard(const char *name, const char *value) : name_(name)
    {
        if (const char *old = std::getenv(name)) {
            saved_ = old;
        }
        Put(value);
    }
    ~EnvGuard() { Put(saved_ ? saved_->c_str() : nullptr); }

private:
    void Put(const char *value) const { value ? setenv(name_.c_str(), value, 1) : unsetenv(name_.c_str()); }

    std::string name_;
    std::optional<std::string> saved_;
};

class CurrentDirGuard : NoCopy {
public:
    explicit CurrentDirGuard(const fs::path &dir) : saved_(fs::current_path()) { fs::current_path(dir); }
    ~CurrentDirGuard() { fs::current_path(saved_); }

private:
    fs::path saved_;
};

// Lowers the soft limit of a resource; raising it back needs no privilege.
class RlimitGuard : NoCopy {
public:
    RlimitGuard(int resource, rlim_t soft) : resource_(resource)
    {
        getrlimit(resource, &saved_);
        const rlimit lowered{soft, saved_.rlim_max};
        EXPECT_EQ(setrlimit(resource, &lowered), 0);
    }
    ~RlimitGuard() { setrlimit(resource_, &saved_); }

private:
    int resource_;
    rlimit saved_{};
};

class SignalGuard : NoCopy {
public:
    SignalGuard(int signal, void (*handler)(int), int flags = 0) : signal_(signal)
    {
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        sigaction(signal, &action, &saved_);
    }
    ~SignalGuard() { sigaction(signal_, &saved_, nullptr); }

private:
    int signal_;
    struct sigaction saved_ {};
};

// A fresh directory, removed with everything in it.
class TempDir : NoCopy {
public:
    explicit TempDir(const fs::path &parent = fs::temp_directory_path())
    {
        std::string name = (parent / "velkc-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw fs::filesystem_error("mkdtemp", name, std::error_code(errno, std::generic_category()));
        }
        path_ = name;
    }
    ~TempDir()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const fs::path &path() const { return path_; }
    fs::path operator/(const fs::path &name) const { return path_ / name; }

private:
    fs::path path_;
};

// A test with a scratch directory of its own.
class ScratchTest : public ::testing::Test {
protected:
    fs::path Path(const fs::path &name) const { return dir_ / name; }

    TempDir scratch_;
    const fs::path &dir_ = scratch_.path();
};

inline std::string ReadFile(const fs::path &path)
{
    // Whole buffers: sanitizer builds read large files many times over.
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

// A child that ends with _exit(body()), never returning into the framework.
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

// The exit status of body run in a child, or -1 when it did not exit.
inline int ExitOfChild(const std::function<int()> &body)
{
    const int status = WaitChild(ForkChild(body));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Clears the error record before a call under test.
inline void ResetError() { VELKCErrSetEx(0, "test", 0); }

// The record holds code, set in the source file named source.
inline void ExpectError(unsigned code, const char *source)
{
    EXPECT_EQ(VELKCErrGet(), code);
    EXPECT_STREQ(VELKCErrorGetFile(), source);
}

} // namespace test
