// Support for the project tests and the fuzz targets: guards that put back
// the process state a test changes (umask, environment variables, current
// directory, resource limits, signal dispositions), a scratch directory
// removed with all it holds, whole-file reads and writes, and forked
// children. Failures throw, which a test reports and a fuzz target dies of.
#pragma once

#include <velkc.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
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
#include <system_error>
#include <unistd.h>
#include <utility>

namespace test {

namespace fs = std::filesystem;

class NoCopy {
public:
    NoCopy() = default;
    NoCopy(const NoCopy &) = delete;
    NoCopy &operator=(const NoCopy &) = delete;
};

// Puts back what a test changed when it goes out of scope. The functions
// below change one piece of process state each and return its guard.
class Guard : NoCopy {
public:
    explicit Guard(std::function<void()> restore) : restore_(std::move(restore)) {}
    ~Guard() { restore_(); }

private:
    std::function<void()> restore_;
};

[[nodiscard]] inline Guard SetUmask(mode_t mask)
{
    return Guard([saved = umask(mask)] { umask(saved); });
}

// Sets an environment variable, or unsets it for a null value.
[[nodiscard]] inline Guard SetEnv(const std::string &name, const char *value)
{
    const auto put = [name](const char *v) { v != nullptr ? setenv(name.c_str(), v, 1) : unsetenv(name.c_str()); };
    const char *old = std::getenv(name.c_str());
    std::optional<std::string> saved = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
    put(value);
    return Guard([put, saved] { put(saved ? saved->c_str() : nullptr); });
}

[[nodiscard]] inline Guard ChangeDir(const fs::path &dir)
{
    const fs::path saved = fs::current_path();
    fs::current_path(dir);
    return Guard([saved] { fs::current_path(saved); });
}

// Lowers the soft limit of a resource; raising it back needs no privilege.
[[nodiscard]] inline Guard LowerLimit(int resource, rlim_t soft)
{
    rlimit saved{};
    getrlimit(resource, &saved);
    const rlimit lowered{soft, saved.rlim_max};
    if (setrlimit(resource, &lowered) != 0) {
        throw std::system_error(errno, std::generic_category(), "setrlimit");
    }
    return Guard([resource, saved] { setrlimit(resource, &saved); });
}

[[nodiscard]] inline Guard SetSignal(int signal, void (*handler)(int), int flags = 0)
{
    struct sigaction action {};
    struct sigaction saved {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signal, &action, &saved);
    return Guard([signal, saved] { sigaction(signal, &saved, nullptr); });
}

// The lock files that writers killed or failed in the middle of a call
// left for the directories of tree, in the calling user's lock directory
// (named "<device>.<inode>.<name hash>" after the target's directory).
inline void RemoveWriterLocks(const fs::path &tree)
{
    std::set<std::string> prefixes;
    const auto add = [&prefixes](const fs::path &dir) {
        struct stat st;
        if (lstat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            char prefix[64];
            std::snprintf(prefix, sizeof prefix, "%llx.%llx.", static_cast<unsigned long long>(st.st_dev),
                          static_cast<unsigned long long>(st.st_ino));
            prefixes.insert(prefix);
        }
    };
    std::error_code ec;
    add(tree);
    for (auto it = fs::recursive_directory_iterator(tree, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        add(it->path());
    }
    const std::string user = std::to_string(geteuid());
    const fs::path lockDirs[] = {geteuid() == 0 ? "/run/velkc" : "/run/user/" + user + "/velkc", "/tmp/velkc-" + user};
    for (const fs::path &lockDir : lockDirs) {
        for (auto it = fs::directory_iterator(lockDir, ec); !ec && it != fs::directory_iterator(); it.increment(ec)) {
            const std::string name = it->path().filename().string();
            const std::size_t second = name.find('.', name.find('.') + 1);
            if (second != std::string::npos && prefixes.contains(name.substr(0, second + 1))) {
                std::error_code ignored;
                fs::remove(it->path(), ignored);
            }
        }
        ec.clear();
    }
}

// Removes tree with everything in it and the writers' lock files it left.
inline void RemoveTree(const fs::path &tree)
{
    RemoveWriterLocks(tree);
    std::error_code ignored;
    fs::remove_all(tree, ignored);
}

// A fresh directory, removed with everything in it.
class TempDir : NoCopy {
public:
    explicit TempDir(const fs::path &parent = fs::temp_directory_path())
    {
        std::string name = (parent / "velkc-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "mkdtemp " + name);
        }
        path_ = name;
    }
    ~TempDir() { RemoveTree(path_); }

    const fs::path &path() const { return path_; }
    fs::path operator/(const fs::path &name) const { return path_ / name; }

private:
    fs::path path_;
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
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out.write(text.data(), static_cast<std::streamsize>(text.size())).flush()) {
        throw std::system_error(errno, std::generic_category(), "writing " + path.string());
    }
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

} // namespace test
