// Configuration-file scans against the system-call limits: reading a key
// against read+memmem of the whole file, rewriting keys against writing the
// same bytes to a temporary file, fsync and rename. On tmpfs (/dev/shm) the
// library's own work shows (CPU time, system calls included); on the disk
// (/tmp, or VELKC_BENCH_DISK_DIR) waiting for the sync dominates both, so
// that pair compares real time.
#include "ratio.hpp"

#include <velkc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kLines = 10000;
constexpr const char *kLastKey = "key09990"; // near the end: the whole file is scanned

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
    std::string Path(const char *name) const { return dir_ + "/" + name; }

private:
    std::string dir_;
};

const Scratch &Dir(const char *where)
{
    static const Scratch tmpfs("/dev/shm");
    static const Scratch disk(std::getenv("VELKC_BENCH_DISK_DIR") ? std::getenv("VELKC_BENCH_DISK_DIR") : "/tmp");
    return std::strcmp(where, "tmpfs") == 0 ? tmpfs : disk;
}

// 10,000 lines: sections of 100 keys, each led by a comment and a header.
const std::string &Content()
{
    static const std::string text = [] {
        std::string s;
        char line[64];
        for (int i = 0; i < kLines; ++i) {
            if (i % 100 == 0) {
                std::snprintf(line, sizeof line, "# part %d\n[section%03d]\n", i / 100, i / 100);
                s += line;
            }
            std::snprintf(line, sizeof line, "key%05d=value number %d\n", i, i);
            s += line;
        }
        return s;
    }();
    return text;
}

bool WriteFile(int fd, const std::string &text)
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

// The limit of a safe rewrite: the new bytes into a temporary file beside
// the target, synced, renamed over it.
bool WriteSyncRename(const std::string &path, const std::string &text)
{
    const std::string temp = path + ".tmp";
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) {
        return false;
    }
    const bool ok = WriteFile(fd, text) && fsync(fd) == 0;
    return close(fd) == 0 && ok && rename(temp.c_str(), path.c_str()) == 0;
}

std::string Prepare(const char *where, const char *name)
{
    std::string path = Dir(where).Path(name);
    if (!WriteSyncRename(path, Content())) {
        std::perror(path.c_str());
        std::exit(1);
    }
    return path;
}

void BM_GetKeyValue(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "get.conf");
    char value[64];
    for (auto _ : state) {
        if (VELKCFileGetKeyValue(path.c_str(), kLastKey, value, sizeof value, 0) <= 0) {
            state.SkipWithError("VELKCFileGetKeyValue failed");
            break;
        }
    }
}

// The limit of a read: the whole file in one buffer, the key found with
// memmem, its value copied out.
void BM_ReadMemmem(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "memmem.conf");
    const std::string needle = std::string("\n") + kLastKey + "=";
    std::vector<char> buf(Content().size() + 1);
    char value[64];
    for (auto _ : state) {
        const int fd = open(path.c_str(), O_RDONLY);
        std::size_t size = 0;
        for (ssize_t n; (n = read(fd, buf.data() + size, buf.size() - size)) > 0;) {
            size += static_cast<std::size_t>(n);
        }
        close(fd);
        const char *at = static_cast<const char *>(memmem(buf.data(), size, needle.data(), needle.size()));
        if (at == nullptr) {
            state.SkipWithError("key not found");
            break;
        }
        at += needle.size();
        const char *end =
            static_cast<const char *>(std::memchr(at, '\n', size - static_cast<std::size_t>(at - buf.data())));
        std::memcpy(value, at, static_cast<std::size_t>(end - at));
        value[end - at] = '\0';
        benchmark::DoNotOptimize(value);
    }
}

void BM_SetKeyValue(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "set.conf");
    for (auto _ : state) {
        if (VELKCFileSetKeyValue(path.c_str(), "key05000", "value number 5000", nullptr) != 1) {
            state.SkipWithError("VELKCFileSetKeyValue failed");
            break;
        }
    }
}

void BM_SetKeys(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "setkeys.conf");
    SzHash *pHash = VELKCSzHashAlloc(512);
    for (int i : {1000, 4000, 7000, 9000}) {
        const std::string key = "key0" + std::to_string(i);
        const std::string value = "value number " + std::to_string(i);
        VELKCSzHashSetValue(&pHash, key.c_str(), value.c_str());
    }
    for (auto _ : state) {
        if (VELKCFileSetKeys(path.c_str(), pHash, nullptr, nullptr) != 1) {
            state.SkipWithError("VELKCFileSetKeys failed");
            break;
        }
    }
    VELKCSzHashFree(pHash);
}

void BM_WriteSyncRename(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "peer.conf");
    for (auto _ : state) {
        if (!WriteSyncRename(path, Content())) {
            state.SkipWithError("write, fsync or rename failed");
            break;
        }
    }
}

BENCHMARK_CAPTURE(BM_GetKeyValue, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_ReadMemmem, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetKeyValue, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetKeys, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_WriteSyncRename, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetKeyValue, disk, "disk")->UseRealTime()->MinTime(1.0);
BENCHMARK_CAPTURE(BM_WriteSyncRename, disk, "disk")->UseRealTime()->MinTime(1.0);

} // namespace

VELKC_BENCH_MAIN({
    {"file_get_key_value_10k_tmpfs_vs_read_memmem", "BM_GetKeyValue/tmpfs", "BM_ReadMemmem/tmpfs", 3},
    {"file_set_key_value_10k_tmpfs_vs_write_fsync_rename", "BM_SetKeyValue/tmpfs", "BM_WriteSyncRename/tmpfs", 5},
    {"file_set_keys_10k_tmpfs_vs_write_fsync_rename", "BM_SetKeys/tmpfs", "BM_WriteSyncRename/tmpfs", 5},
    {"file_set_key_value_10k_disk_vs_write_fsync_rename", "BM_SetKeyValue/disk/min_time:1.000/real_time",
     "BM_WriteSyncRename/disk/min_time:1.000/real_time", 2, true},
})
