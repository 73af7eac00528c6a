// Peak memory of the streaming readers and writers on a 100 MB file.
//
// Each call runs alone in a forked child, so that its peak resident size
// (as wait4 reports it) is its own: a reader or writer that streams keeps
// it independent of the file's size. The benchmark prints the peak of each
// call, then a ratio line of the peak to the 16 MB a call may take.
#include "file_limits.hpp"

#include <velkc.h>

#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long long kFileBytes = 100LL * 1024 * 1024;
constexpr double kBudgetMiB = 16;
constexpr int kKeysPerSection = 1000;
constexpr int kExpectedFailure = 99;

// Sections of 1,000 keys up to 100 MB, then one with the keys the calls
// look for, so that every call reads the file to its end.
bool WriteBigFile(const std::string &path)
{
    std::FILE *file = std::fopen(path.c_str(), "w");
    if (file == nullptr) {
        return false;
    }
    long long written = std::fprintf(file, "top = 1\n");
    for (int section = 0; written < kFileBytes; ++section) {
        written += std::fprintf(file, "[section%d]\n", section);
        for (int key = 0; key < kKeysPerSection; ++key) {
            written += std::fprintf(file, "key%d = value of key %d in section %d\n", key, key, section);
        }
    }
    std::fprintf(file, "[last]\ntail_key = old\nspare = 1\n");
    return std::fclose(file) == 0;
}

struct Call {
    const char *name;
    int (*run)(const char *path); // >= 0 on success
};

int SetKeys(const char *path)
{
    SzHash *pairs = VELKCSzHashAlloc(0);
    VELKCSzHashSetValue(&pairs, "tail_key", "new");
    VELKCSzHashSetValue(&pairs, "added_key", "1");
    const int result = VELKCFileSetKeys(path, pairs, nullptr, nullptr);
    VELKCSzHashFree(pairs);
    return result;
}

int AddSection(const char *path)
{
    SzHash *pairs = VELKCSzHashAlloc(0);
    VELKCSzHashSetValue(&pairs, "k", "v");
    const int result = VELKCFileAddSection(path, "added", pairs, nullptr);
    VELKCSzHashFree(pairs);
    return result;
}

char g_value[256];

const Call kCalls[] = {
    {"get_key_value", [](const char *p) { return VELKCFileGetKeyValue(p, "tail_key", g_value, sizeof g_value, 0); }},
    {"get_section_value",
     [](const char *p) { return VELKCFileGetSectionValue(p, "last", "tail_key", g_value, sizeof g_value); }},
    {"get_line",
     [](const char *p) { return VELKCFileGetLine(p, "spare", g_value, sizeof g_value, MATCH_FLAG_PREFIX); }},
    {"check_key_value", [](const char *p) { return VELKCFileCheckKeyValue(p, "tail_key", "old", 0); }},
    {"set_key_value", [](const char *p) { return VELKCFileSetKeyValue(p, "tail_key", "set", nullptr); }},
    {"set_keys", SetKeys},
    {"append_key", [](const char *p) { return VELKCFileAppendKey(p, "appended", "1", nullptr); }},
    {"remove_key", [](const char *p) { return VELKCFileRemoveKey(p, "appended"); }},
    {"add_line", [](const char *p) { return VELKCFileAddLine(p, "spare", "# added", MATCH_FLAG_AFTER); }},
    {"set_line", [](const char *p) { return VELKCFileSetLine(p, "# added", "# set", MATCH_FLAG_PREFIX); }},
    {"line_comment", [](const char *p) { return VELKCFileLineComment(p, "spare", 0); }},
    {"replace_sub_str", [](const char *p) { return VELKCFileReplaceSubStr(p, "# set", "# replaced"); }},
    {"set_section_key_value", [](const char *p) { return VELKCFileSetSectionKeyValue(p, "last", "tail_key", "s"); }},
    {"remove_section_key", [](const char *p) { return VELKCFileRemoveSectionKey(p, "last", "spare"); }},
    {"add_section", AddSection},
    {"modify_section",
     [](const char *p) { return VELKCIFileModifySection(p, "added", "renamed", nullptr, 0, nullptr); }},
};

// The peak resident size in MiB of a child that runs call on path; -1 when
// the call failed.
double PeakMiB(int (*call)(const char *), const char *path)
{
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(call == nullptr || call(path) >= 0 ? 0 : kExpectedFailure);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return -1;
    }
    return static_cast<double>(usage.ru_maxrss) / 1024; // ru_maxrss is in KiB
}

} // namespace

int main()
{
    const std::string path = velkc::bench::Dir("tmpfs").Path("big.conf");
    if (!WriteBigFile(path)) {
        std::perror(path.c_str());
        return 1;
    }
    const double idle = PeakMiB(nullptr, path.c_str());
    std::printf("file of %lld MiB; a child that calls nothing peaks at %.1f MiB\n", kFileBytes >> 20, idle);
    int failed = 0;
    for (const Call &call : kCalls) {
        const double peak = PeakMiB(call.run, path.c_str());
        if (peak < 0) {
            std::printf("%-24s failed\n", call.name);
            ++failed;
            continue;
        }
        std::printf("%-24s peak %6.1f MiB\n", call.name, peak);
        std::printf("RATIO peak_rss_100mb_%s_vs_16mb %.2f 1.00\n", call.name, peak / kBudgetMiB);
    }
    return failed == 0 ? 0 : 1;
}
