// Editing one setting of a sectioned file of 10,000 lines:
// - VELKCFileSetSectionKeyValue against the least a safe rewrite costs:
//   writing the same bytes to a temporary file, fsync, rename and fsync of
//   the directory; on the disk (/tmp, or VELKC_BENCH_DISK_DIR) waiting for
//   the syncs dominates, so that pair compares real time, on tmpfs
//   (/dev/shm) the library's own work shows (CPU time);
// - a transaction of 100 changes against a transaction of one;
// - velkc-conf get and set -s against the peer tool crudini (--get, --set)
//   on a copy of the same file on the disk, whole processes: spawned and
//   waited for, real time. Without crudini its runs are skipped with a note.
#include "file_limits.hpp"
#include "ratio.hpp"

#include <velkc.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {

using namespace velkc::bench;

namespace fs = std::filesystem;

constexpr int kSections = 100;
constexpr int kKeysPerSection = 99; // with its header, 100 lines a section
constexpr const char *kSection = "section050";
constexpr const char *kKey = "key05050";
// Two values of the length of the one in the file, and unlike it, taken in
// turn: every edit changes the file, and the rewrite is as long as the
// peer's.
constexpr const char *kValues[] = {"value number 505a", "value number 505b"};

// 100 sections of a header and 99 keys each: 10,000 lines.
const std::string &Content()
{
    static const std::string text = [] {
        std::string s;
        char line[64];
        for (int section = 0; section < kSections; ++section) {
            std::snprintf(line, sizeof line, "[section%03d]\n", section);
            s += line;
            for (int i = 0; i < kKeysPerSection; ++i) {
                const int n = section * 100 + i;
                std::snprintf(line, sizeof line, "key%05d=value number %d\n", n, n);
                s += line;
            }
        }
        return s;
    }();
    return text;
}

void BM_SetSectionKey(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "set.conf", Content());
    unsigned turn = 0;
    for (auto _ : state) {
        if (VELKCFileSetSectionKeyValue(path.c_str(), kSection, kKey, kValues[turn++ & 1]) != 1) {
            state.SkipWithError("VELKCFileSetSectionKeyValue failed");
            break;
        }
    }
}

void BM_WriteSyncRenameSyncDir(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "peer.conf", Content());
    for (auto _ : state) {
        if (!WriteSyncRenameSyncDir(Dir(where).dir(), path, Content())) {
            state.SkipWithError("write, fsync, rename or fsync of the directory failed");
            break;
        }
    }
}

// Open, as many changes as asked (one key in each of that many sections),
// commit.
void BM_Transaction(benchmark::State &state, const char *where)
{
    const std::string path = Prepare(where, "edit.conf", Content());
    const auto changes = static_cast<int>(state.range(0));
    std::vector<std::string> sections;
    std::vector<std::string> keys;
    char name[32];
    for (int i = 0; i < changes; ++i) {
        const int section = changes == 1 ? 50 : i;
        std::snprintf(name, sizeof name, "section%03d", section);
        sections.emplace_back(name);
        std::snprintf(name, sizeof name, "key%05d", section * 100 + 50);
        keys.emplace_back(name);
    }
    unsigned turn = 0;
    for (auto _ : state) {
        const char *value = kValues[turn++ & 1];
        VELKCFileEdit *pEdit = VELKCFileEditOpen(path.c_str(), EDIT_FLAG_EXISTING);
        bool ok = pEdit != nullptr;
        for (int i = 0; ok && i < changes; ++i) {
            ok = VELKCFileEditSetValue(pEdit, sections[i].c_str(), keys[i].c_str(), value) == 1;
        }
        if (!ok) {
            VELKCFileEditAbort(pEdit);
            state.SkipWithError("VELKCFileEditOpen or VELKCFileEditSetValue failed");
            break;
        }
        if (VELKCFileEditCommit(pEdit) != 1) {
            state.SkipWithError("VELKCFileEditCommit wrote nothing or failed");
            break;
        }
    }
}

// ---------------------------------------------------------------------------
// Whole processes.

// Runs a program with its output thrown away; true when it exits with 0.
bool RunProcess(const std::vector<std::string> &args)
{
    std::vector<char *> argv;
    for (const std::string &arg : args) {
        argv.push_back(const_cast<char *>(arg.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        return false;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// velkc-conf of the same build: $VELKC_CONF, else beside this benchmark's
// build directory.
const std::string &ConfTool()
{
    static const std::string tool = [] {
        if (const char *path = std::getenv("VELKC_CONF")) {
            return std::string(path);
        }
        std::error_code ignored;
        const fs::path self = fs::read_symlink("/proc/self/exe", ignored);
        return (self.parent_path().parent_path() / "tools/velkc-conf/velkc-conf").string();
    }();
    return tool;
}

bool HaveCrudini()
{
    static const bool found = [] {
        const char *path = std::getenv("PATH");
        std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
        for (std::size_t begin = 0; begin <= dirs.size();) {
            const std::size_t end = std::min(dirs.find(':', begin), dirs.size());
            if (access((dirs.substr(begin, end - begin) + "/crudini").c_str(), X_OK) == 0) {
                return true;
            }
            begin = end + 1;
        }
        std::printf("crudini is not installed (Debian package crudini): its comparisons are skipped\n");
        return false;
    }();
    return found;
}

// Runs a command line with the file path put in, once per iteration; the
// value of a set takes turns as above.
void RunEach(benchmark::State &state, const char *name, std::vector<std::string> args, std::size_t valueAt)
{
    const std::string path = Prepare("disk", name, Content());
    for (std::string &arg : args) {
        arg = arg == "FILE" ? path : arg;
    }
    unsigned turn = 0;
    for (auto _ : state) {
        if (valueAt != 0) {
            args[valueAt] = kValues[turn++ & 1];
        }
        if (!RunProcess(args)) {
            state.SkipWithError(("failed: " + args[0] + " " + args[1]).c_str());
            break;
        }
    }
}

void BM_ConfGet(benchmark::State &state)
{
    if (access(ConfTool().c_str(), X_OK) != 0) {
        state.SkipWithError("velkc-conf not found: set VELKC_CONF");
        return;
    }
    RunEach(state, "conf-get.conf", {ConfTool(), "get", "-s", kSection, "FILE", kKey}, 0);
}

void BM_ConfSet(benchmark::State &state)
{
    if (access(ConfTool().c_str(), X_OK) != 0) {
        state.SkipWithError("velkc-conf not found: set VELKC_CONF");
        return;
    }
    RunEach(state, "conf-set.conf", {ConfTool(), "set", "-s", kSection, "FILE", kKey, ""}, 6);
}

void BM_CrudiniGet(benchmark::State &state)
{
    if (!HaveCrudini()) {
        state.SkipWithError("crudini is not installed");
        return;
    }
    RunEach(state, "crudini-get.conf", {"crudini", "--get", "FILE", kSection, kKey}, 0);
}

void BM_CrudiniSet(benchmark::State &state)
{
    if (!HaveCrudini()) {
        state.SkipWithError("crudini is not installed");
        return;
    }
    RunEach(state, "crudini-set.conf", {"crudini", "--set", "FILE", kSection, kKey, ""}, 5);
}

BENCHMARK_CAPTURE(BM_SetSectionKey, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_WriteSyncRenameSyncDir, tmpfs, "tmpfs");
BENCHMARK_CAPTURE(BM_SetSectionKey, disk, "disk")->UseRealTime()->MinTime(1.0);
BENCHMARK_CAPTURE(BM_WriteSyncRenameSyncDir, disk, "disk")->UseRealTime()->MinTime(1.0);
BENCHMARK_CAPTURE(BM_Transaction, tmpfs, "tmpfs")->Arg(1)->Arg(100);
BENCHMARK_CAPTURE(BM_Transaction, disk, "disk")->Arg(1)->Arg(100)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_ConfGet)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_CrudiniGet)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_ConfSet)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_CrudiniSet)->UseRealTime()->MinTime(1.0);

} // namespace

VELKC_BENCH_MAIN({
    {"edit_set_section_key_10k_disk_vs_write_fsync_rename_dirsync", "BM_SetSectionKey/disk/min_time:1.000/real_time",
     "BM_WriteSyncRenameSyncDir/disk/min_time:1.000/real_time", 1.5, true},
    {"edit_set_section_key_10k_tmpfs_vs_write_fsync_rename_dirsync", "BM_SetSectionKey/tmpfs",
     "BM_WriteSyncRenameSyncDir/tmpfs", 3},
    {"edit_transaction_100_changes_vs_1_tmpfs", "BM_Transaction/tmpfs/100", "BM_Transaction/tmpfs/1", 2},
    {"edit_transaction_100_changes_vs_1_disk", "BM_Transaction/disk/100/min_time:1.000/real_time",
     "BM_Transaction/disk/1/min_time:1.000/real_time", 2, true},
    {"conf_get_10k_vs_crudini_get", "BM_ConfGet/min_time:1.000/real_time", "BM_CrudiniGet/min_time:1.000/real_time", 0,
     true},
    {"conf_set_section_10k_vs_crudini_set", "BM_ConfSet/min_time:1.000/real_time",
     "BM_CrudiniSet/min_time:1.000/real_time", 0, true},
})
