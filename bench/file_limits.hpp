// What the configuration-file benchmarks share: scratch directories on
// tmpfs and on the disk, and the physical limit of a change that survives a
// power cut, which the library's writers are compared with.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace velkc::bench {

// A scratch directory removed with everything in it at exit.
class Scratch {
public:
    explicit Scratch(const char *parent)
    {
        std::string pattern = std::string(parent) + "/velkc-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror(parent);
            std::exit(1);
        }
        dir_ = pattern;
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch()
    {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    const std::string &dir() const { return dir_; }
    std::string Path(const char *name) const { return dir_ + "/" + name; }

private:
    std::string dir_;
};

// "tmpfs": /dev/shm; else the disk (/tmp, or VELKC_BENCH_DISK_DIR).
inline const Scratch &Dir(const char *where)
{
    static const Scratch tmpfs("/dev/shm");
    static const Scratch disk(std::getenv("VELKC_BENCH_DISK_DIR") ? std::getenv("VELKC_BENCH_DISK_DIR") : "/tmp");
    return std::strcmp(where, "tmpfs") == 0 ? tmpfs : disk;
}

inline bool WriteAll(int fd, const std::string &text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// The least a rewrite that survives a power cut costs: the new bytes into a
// temporary file beside the target, synced, renamed over it, and the
// directory synced so that the rename lasts.
inline bool WriteSyncRenameSyncDir(const std::string &dir, const std::string &path, const std::string &text)
{
    const std::string temp = path + ".tmp";
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    const bool written = WriteAll(fd, text) && fsync(fd) == 0;
    if (close(fd) != 0 || !written || rename(temp.c_str(), path.c_str()) != 0) {
        return false;
    }
    const int dirFd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd < 0) {
        return false;
    }
    const bool synced = fsync(dirFd) == 0;
    return close(dirFd) == 0 && synced;
}

// A file of text in the scratch directory where, named name.
inline std::string Prepare(const char *where, const char *name, const std::string &text)
{
    const Scratch &scratch = Dir(where);
    std::string path = scratch.Path(name);
    if (!WriteSyncRenameSyncDir(scratch.dir(), path, text)) {
        std::perror(path.c_str());
        std::exit(1);
    }
    return path;
}

} // namespace velkc::bench
