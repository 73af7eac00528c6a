// Configuration-file scans against the system-call limits: reading a key
// against read+memmem of the whole file, rewriting keys against writing the
// same bytes to a temporary file, fsync and rename. On tmpfs (/dev/shm) the
// library's own work shows (CPU time, system calls included); on the disk
// (/tmp, or VELKC_BENCH_DISK_DIR) waiting for the sync dominates both, so
// that pair compares real time.
#include "file_limits.hpp"
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

using namespace velkc::bench;

constexpr int kLines = 10000;
constexpr const char *kLastKey = "key09990"; // near the end: the whole file is scanned

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

void BM_GetKeyValue(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "get.conf", Content());
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
    const std::string path = Prepare(where, "memmem.conf", Content());
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
    const std::string path = Prepare(where, "set.conf", Content());
    for (auto _ : state) {
        if (VELKCFileSetKeyValue(path.c_str(), "key05000", "value number 5000", nullptr) != 1) {
            state.SkipWithError("VELKCFileSetKeyValue failed");
            break;
        }
    }
}

void BM_SetKeys(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "setkeys.conf", Content());
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

// Plain lines "keyNNNNN=value number N", the content of the many-key runs.
std::string PlainContent(int lines, const char *value)
{
    std::string s;
    char line[64];
    for (int i = 0; i < lines; ++i) {
        std::snprintf(line, sizeof line, "key%05d=%s %d\n", i, value, i);
        s += line;
    }
    return s;
}

// 1,000 keys changed at once, spread evenly over a file of range(0) lines;
// the limit is writing the file as it is after the change.
void BM_SetManyKeys(benchmark::State &state)
{
    const int lines = static_cast<int>(state.range(0));
    const std::string path =
        Prepare("tmpfs", ("many" + std::to_string(lines) + ".conf").c_str(), PlainContent(lines, "old value"));
    SzHash *pHash = VELKCSzHashAlloc(2048);
    for (int i = 0; i < lines; i += lines / 1000) {
        char key[16];
        std::snprintf(key, sizeof key, "key%05d", i);
        VELKCSzHashSetValue(&pHash, key, ("new value " + std::to_string(i)).c_str());
    }
    for (auto _ : state) {
        if (VELKCFileSetKeys(path.c_str(), pHash, nullptr, nullptr) != 1) {
            state.SkipWithError("VELKCFileSetKeys failed");
            break;
        }
    }
    VELKCSzHashFree(pHash);
}

void BM_WriteManySyncRenameSyncDir(benchmark::State &state)
{
    const int lines = static_cast<int>(state.range(0));
    const std::string text = PlainContent(lines, "new value");
    const std::string path = Prepare("tmpfs", ("manypeer" + std::to_string(lines) + ".conf").c_str(), text);
    for (auto _ : state) {
        if (!WriteSyncRenameSyncDir(Dir("tmpfs").dir(), path, text)) {
            state.SkipWithError("write, fsync or rename failed");
            break;
        }
    }
}

void BM_WriteSyncRenameSyncDir(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "peer.conf", Content());
    for (auto _ : state) {
        if (!WriteSyncRenameSyncDir(Dir(where).dir(), path, Content())) {
            state.SkipWithError("write, fsync or rename failed");
            break;
        }
    }
}

BENCHMARK_CAPTURE(BM_GetKeyValue, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_ReadMemmem, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetKeyValue, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetKeys, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_WriteSyncRenameSyncDir, tmpfs, "tmpfs");
BENCHMARK(BM_SetManyKeys)->Arg(1000)->Arg(10000);
BENCHMARK(BM_WriteManySyncRenameSyncDir)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(BM_SetKeyValue, disk, "disk")->UseRealTime()->MinTime(1.0);
BENCHMARK_CAPTURE(BM_WriteSyncRenameSyncDir, disk, "disk")->UseRealTime()->MinTime(1.0);

} // namespace

VELKC_BENCH_MAIN({
    {"file_get_key_value_10k_tmpfs_vs_read_memmem", "BM_GetKeyValue/tmpfs", "BM_ReadMemmem/tmpfs", 3},
    {"file_set_key_value_10k_tmpfs_vs_write_fsync_rename_fsync_dir", "BM_SetKeyValue/tmpfs",
     "BM_WriteSyncRenameSyncDir/tmpfs", 5},
    {"file_set_keys_10k_tmpfs_vs_write_fsync_rename_fsync_dir", "BM_SetKeys/tmpfs", "BM_WriteSyncRenameSyncDir/tmpfs",
     5},
    {"file_set_keys_1000_changed_1k_tmpfs_vs_write_fsync_rename_fsync_dir", "BM_SetManyKeys/1000",
     "BM_WriteManySyncRenameSyncDir/1000", 3},
    {"file_set_keys_1000_changed_10k_tmpfs_vs_write_fsync_rename_fsync_dir", "BM_SetManyKeys/10000",
     "BM_WriteManySyncRenameSyncDir/10000", 3},
    {"file_set_key_value_10k_disk_vs_write_fsync_rename_fsync_dir", "BM_SetKeyValue/disk/min_time:1.000/real_time",
     "BM_WriteSyncRenameSyncDir/disk/min_time:1.000/real_time", 2, true},
})
