// Every configuration reader and writer with each of its allocations and file
// system calls failed in turn (see fault_interposer.hpp), each case on a fresh
// directory. A writer either does what it does without faults or fails with
// an error code and leaves its target as it was (complete and new only when
// the failure came after the rename), and never anything beside it. A reader
// either finds what it finds without faults or reports a read error, never a
// wrong answer such as "not found".
//
// The cases of a loop run one after another in a forked worker, so that a
// crash (an exception escaping a noexcept function, a null dereference)
// ends only that case: the next worker goes on with the step after it.
#include "fault_interposer.hpp"
#include "test_file_writers_support.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <optional>
#include <sys/mman.h>

using namespace writers_test;

namespace {

constexpr char kTarget[] = "conf";
// Guards against a loop that never ends because the call never stops failing.
constexpr long kMaxSteps = 5000;
// A case that hangs ends its worker, and shows as a crash.
constexpr unsigned kCaseSeconds = 30;

struct Mode {
    const char *name;
    fault::Kind kind;
    int error;
};

constexpr Mode kModes[] = {
    {"ENOMEM", fault::Kind::kAlloc, ENOMEM},
    {"EIO", fault::Kind::kIo, EIO},
    {"ENOSPC", fault::Kind::kIo, ENOSPC},
    {"EDQUOT", fault::Kind::kIo, EDQUOT},
    {"short write", fault::Kind::kShortWrite, 0},
};
constexpr Mode kNoFaults = {"none", fault::Kind::kOff, 0};

// What the call did.
struct Outcome {
    int result = 0;
    unsigned error = 0;
    std::string found;    // what a reader found
    std::string leakedFd; // a descriptor on the case directory left open
};

// The first open descriptor whose file lies under dir, or "".
std::string DescriptorUnder(const fs::path &dir)
{
    for (const auto &entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ec;
        const std::string file = fs::read_symlink(entry.path(), ec).string();
        if (file.starts_with(dir.string() + "/")) {
            return file;
        }
    }
    return "";
}

// Makes the call under test, armed, and records what it did.
class Injector {
public:
    Injector(const Mode &mode, long k, const fs::path &dir, fault::Record &record, Outcome &outcome)
        : mode_(mode), k_(k), dir_(dir), record_(record), outcome_(outcome)
    {
    }

    void Call(const std::function<int()> &call)
    {
        ResetError();
        fault::Arm(mode_.kind, k_, mode_.error, kTarget, &record_);
        outcome_.result = call();
        fault::Disarm();
        outcome_.error = VELKCErrGet();
        outcome_.leakedFd = DescriptorUnder(dir_);
    }

private:
    const Mode &mode_;
    long k_;
    const fs::path &dir_;
    fault::Record &record_;
    Outcome &outcome_;
};

struct Subject {
    std::string name;
    bool reader;
    std::optional<std::string> before; // the target before the call, if any
    int failure;     // the result that reports a failure
    int fallback;    // a result that would be wrong whenever reading failed
    // Prepares what the call needs, makes it through inject.Call and gives
    // what a reader found.
    using Run = std::function<std::string(const char *path, Injector &inject)>;
    Run run;
};

// No result stands for a default of the caller's.
constexpr int kNoFallback = INT_MIN;

// The live pairs of a hash, sorted, one "key=value" a line.
std::string Shown(const SzHash *hash)
{
    std::vector<std::string> pairs;
    for (int i = 0; i < hash->nSlot; ++i) {
        const SzHashSlot &slot = hash->rgSlot[i];
        if (slot.pszKey != nullptr && slot.pszVal != nullptr) {
            pairs.push_back(std::string(slot.pszKey) + "=" + slot.pszVal + "\n");
        }
    }
    std::sort(pairs.begin(), pairs.end());
    std::string text;
    for (const std::string &pair : pairs) {
        text += pair;
    }
    return text;
}

std::string Shown(const SzList *list)
{
    std::string text;
    for (int i = 0; i < list->nItem; ++i) {
        text += std::string(list->pszItem[i]) + "\n";
    }
    return text;
}

struct OwnedList {
    OwnedList() = default;
    ~OwnedList() { VELKCSzListFree(list); }
    OwnedList(const OwnedList &) = delete;
    OwnedList &operator=(const OwnedList &) = delete;

    SzList *list = VELKCSzListAlloc(512);
};

// Readers into a value buffer, a hash or a list.
template <typename Read>
auto IntoBuffer(Read read)
{
    return [read](const char *path, Injector &inject) {
        char value[64] = {};
        inject.Call([&] { return read(path, value, static_cast<int>(sizeof value)); });
        return std::string(value);
    };
}

template <typename Read>
auto IntoHash(Read read)
{
    return [read](const char *path, Injector &inject) {
        PairHash found{};
        inject.Call([&] { return read(path, &found.hash); });
        return Shown(found.hash);
    };
}

template <typename Read>
auto IntoList(Read read)
{
    return [read](const char *path, Injector &inject) {
        OwnedList found;
        inject.Call([&] { return read(path, &found.list); });
        return Shown(found.list);
    };
}

// The keys GetKeys looks for, made before any call is armed.
const SzList *KeyList()
{
    static const Args args;
    return args.keys;
}

// kBase after enough comment lines that it takes several reads and several
// writes: failures then come in the middle of the copy, and before the
// readers reach their key.
const std::string kLarge = [] {
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        text += "#" + std::string(99, 'x') + "\n";
    }
    return text + kBase;
}();

// The subjects of a table, on kBase and on kLarge.
std::vector<Subject> OnBoth(const std::function<std::vector<Subject>(const std::string &)> &table)
{
    std::vector<Subject> subjects = table(kBase);
    for (Subject &subject : table(kLarge)) {
        subject.name += " (large)";
        subjects.push_back(std::move(subject));
    }
    return subjects;
}

std::vector<Subject> Readers(const std::string &content)
{
    constexpr int kDefault = 7;
    const SzList *keys = KeyList();
    // A reader that reports failures with -1.
    const auto ReaderOf = [&](const char *name, Subject::Run run) {
        return Subject{name, true, content, -1, kNoFallback, std::move(run)};
    };
    return {
        ReaderOf("GetKeyValue",
                 IntoBuffer([](const char *p, char *v, int n) { return VELKCFileGetKeyValue(p, "k2", v, n, 0); })),
        ReaderOf("GetLine",
                 IntoBuffer([](const char *p, char *v, int n) { return VELKCFileGetLine(p, "k2", v, n, 0); })),
        ReaderOf("GetSectionValue",
                 IntoBuffer([](const char *p, char *v, int n) { return VELKCFileGetSectionValue(p, "s", "m", v, n); })),
        ReaderOf("GetPair", IntoHash([](const char *p, SzHash **h) { return VELKCFileGetPair(p, h); })),
        ReaderOf("GetSection", IntoHash([](const char *p, SzHash **h) { return VELKCFileGetSection(p, "s", h); })),
        ReaderOf("GetKeys", IntoHash([keys](const char *p, SzHash **h) { return VELKCFileGetKeys(p, keys, h, "="); })),
        ReaderOf("EnumSection", IntoList([](const char *p, SzList **l) { return VELKCFileEnumSection(p, l); })),
        ReaderOf("ReadLines", IntoList([](const char *p, SzList **l) { return VELKCFileReadLines(p, l); })),
        // Failing, it returns 0, never the default meant for a missing key.
        {"CheckKeyValue", true, content, 0, kDefault,
         [](const char *p, Injector &inject) {
             inject.Call([&] { return VELKCFileCheckKeyValue(p, "k2", "v2", kDefault); });
             return std::string();
         }},
    };
}

// The writers of the table on content or, without it, on a missing file for
// those that create it.
std::vector<Subject> Writers(const std::optional<std::string> &content)
{
    static const std::set<std::string> creators = {"SetKeyValue", "AppendKey", "AddLine", "AddLineAppend",
                                                   "AddLineByKeyAppend", "SetLine", "SetKeys", "AddSection"};
    std::vector<Subject> subjects;
    for (const Writer &writer : AllWriters()) {
        if (content || creators.contains(writer.name)) {
            const auto run = [&writer](const char *p, Injector &inject) {
                Args args;
                inject.Call([&] { return writer.call(p, args); });
                return std::string();
            };
            subjects.push_back({writer.name, false, content, -1, kNoFallback, run});
        }
    }
    return subjects;
}

// One call of a subject on a fresh directory under base, and what it left.
struct Case {
    Outcome outcome;
    std::optional<std::string> content; // the target afterwards, if any
    std::set<std::string> names;        // the directory afterwards
};

Case RunCase(const Subject &subject, const Mode &mode, long k, const fs::path &base, fault::Record &record)
{
    const fs::path dir = base / std::to_string(k);
    fs::create_directory(dir);
    const fs::path target = dir / kTarget;
    if (subject.before) {
        WriteFile(target, *subject.before);
    }
    Case result;
    Injector inject(mode, k, dir, record, result.outcome);
    result.outcome.found = subject.run(target.c_str(), inject);
    result.names = ListDir(dir);
    if (fs::exists(target)) {
        result.content = ReadFile(target);
    }
    fs::remove_all(dir);
    return result;
}

std::string Hex(unsigned code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", code);
    return text;
}

// Text as the listing shows it: escaped, and only the end of a long one.
std::string Quoted(std::string_view text)
{
    constexpr std::size_t kShown = 60;
    std::string shown = text.size() > kShown ? std::to_string(text.size()) + " bytes ending \"..." : "\"";
    for (const char c : text.substr(text.size() > kShown ? text.size() - kShown : 0)) {
        shown += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return shown + "\"";
}

// The codes a failure of mode may report.
bool Acceptable(const Subject &subject, const Mode &mode, unsigned code)
{
    if (mode.kind == fault::Kind::kAlloc) {
        return code == ERR_OUT_OF_MEMORY;
    }
    if (subject.reader) {
        return code == ERR_OPEN_FAILED || code == ERR_READ_FAILED;
    }
    static const std::set<unsigned> io = {ERR_OPEN_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_SEEK_FAILED,
                                          ERR_STAT_FAILED, ERR_RENAME_FAILED};
    return io.contains(code) || (code == ERR_QUOTA_EXCEEDED && mode.error == EDQUOT);
}

// What the call reported, as the listing shows it.
std::string Reported(const Subject &subject, const Outcome &outcome)
{
    std::string text = "returned " + std::to_string(outcome.result) + " with " + Hex(outcome.error);
    if (outcome.error == ERR_KEY_NOT_FOUND || outcome.error == ERR_SECTION_NOT_FOUND) {
        text += " (not found)";
    }
    if (outcome.result == subject.fallback) {
        text += " (the caller's default)";
    }
    return text;
}

// What the call reported and found that the clean run did not.
std::vector<std::string> WrongResult(const Subject &subject, const Mode &mode, const Case &clean,
                                     const Outcome &outcome)
{
    if (outcome.result == clean.outcome.result) {
        if (outcome.found == clean.outcome.found) {
            return {};
        }
        return {"found " + Quoted(outcome.found) + " instead of " + Quoted(clean.outcome.found)};
    }
    if (outcome.result != subject.failure) {
        return {Reported(subject, outcome)};
    }
    if (!Acceptable(subject, mode, outcome.error)) {
        return {"failed, but " + Reported(subject, outcome)};
    }
    return {};
}

// Why a case did not hold; empty when it held.
std::vector<std::string> Faults(const Subject &subject, const Mode &mode, const Case &clean, const Case &run,
                                const fault::Record &record)
{
    const Outcome &outcome = run.outcome;
    std::vector<std::string> faults = WrongResult(subject, mode, clean, outcome);
    // A writer that did its work leaves the new version; one that failed,
    // the old, or the new when it failed after putting it in place.
    std::set<std::optional<std::string>> allowed = {subject.before};
    if (!subject.reader && outcome.result == clean.outcome.result) {
        allowed = {clean.content};
    } else if (!subject.reader && record.failedAfterCommit) {
        allowed.insert(clean.content);
    }
    if (!allowed.contains(run.content)) {
        faults.push_back("left the target " + (run.content ? Quoted(*run.content) : std::string("missing")));
    }
    for (const std::string &name : run.names) {
        if (name != kTarget || !run.content) {
            faults.push_back("left \"" + name + "\" in the directory");
        }
    }
    if (!outcome.leakedFd.empty()) {
        faults.push_back("left a descriptor open on " + outcome.leakedFd);
    }
    return faults;
}

// The progress of one loop, in memory shared with its workers.
struct Loop {
    fault::Record record; // of the case in progress
    long k;               // the step in progress
    long injected;
    long held;
    bool done;            // a call ran through with no fault left to inject
    std::size_t logSize;
    char log[1 << 16];    // the cases that did not hold, one a line

    void Log(long step, const std::vector<std::string> &faults)
    {
        std::string line = "step " + std::to_string(step) + " (" + (record.failed ? record.failed : "?") + "):";
        for (const std::string &fault : faults) {
            line += " " + fault + ";";
        }
        logSize += std::snprintf(log + logSize, sizeof log - logSize, "%s\n", line.c_str());
        logSize = std::min(logSize, sizeof log - 1);
    }
};

class SharedLoop {
public:
    SharedLoop()
        : loop_(static_cast<Loop *>(
              mmap(nullptr, sizeof(Loop), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
    }
    ~SharedLoop() { munmap(loop_, sizeof(Loop)); }
    SharedLoop(const SharedLoop &) = delete;
    SharedLoop &operator=(const SharedLoop &) = delete;

    Loop &get() const { return *loop_; }

private:
    Loop *loop_;
};

// The worker: runs the steps of a loop from loop.k on.
void Work(const Subject &subject, const Mode &mode, const Case &clean, const fs::path &base, Loop &loop)
{
    for (; loop.k <= kMaxSteps; ++loop.k) {
        alarm(kCaseSeconds);
        const Case run = RunCase(subject, mode, loop.k, base, loop.record);
        if (loop.record.calls < loop.k) {
            loop.done = true; // the call made fewer than k calls: none failed
            return;
        }
        ++loop.injected;
        const std::vector<std::string> faults = Faults(subject, mode, clean, run, loop.record);
        if (faults.empty()) {
            ++loop.held;
        } else {
            loop.Log(loop.k, faults);
        }
    }
}

// Runs a loop in workers, a new one after each crash.
void RunLoop(const Subject &subject, const Mode &mode, const Case &clean, const fs::path &base, Loop &loop)
{
    loop = Loop{};
    loop.k = 1;
    while (!loop.done && loop.k <= kMaxSteps) {
        const int status = WaitChild(ForkChild([&] {
            Work(subject, mode, clean, base, loop);
            return 0;
        }));
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            continue;
        }
        ++loop.injected;
        loop.Log(loop.k, {WIFSIGNALED(status) ? "crashed with signal " + std::to_string(WTERMSIG(status))
                                              : "worker ended with status " + std::to_string(status)});
        ++loop.k;
    }
}

// A private directory for the cases, removed with everything a crashed
// worker left in it.
class CaseBase {
public:
    CaseBase()
    {
        // On tmpfs where there is one: the thousands of fsync calls then
        // cost nothing, whatever else the disk is doing.
        std::string name = fs::is_directory("/dev/shm") ? "/dev/shm/velkc-fault-XXXXXX" : "/tmp/velkc-fault-XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        path_ = name;
    }
    ~CaseBase() { fs::remove_all(path_); }
    CaseBase(const CaseBase &) = delete;
    CaseBase &operator=(const CaseBase &) = delete;

    const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

// Runs every mode's loop on every subject; prints the tallies and returns
// the cases that did not hold.
std::vector<std::string> InjectAll(const std::vector<Subject> &subjects)
{
    const CaseBase base;
    const SharedLoop shared;
    Loop &loop = shared.get();
    std::vector<std::string> failures;
    for (const Subject &subject : subjects) {
        const Case clean = RunCase(subject, kNoFaults, 0, base.path(), loop.record);
        if (clean.outcome.result == subject.failure) {
            failures.push_back(subject.name + ": fails without faults: " + Reported(subject, clean.outcome));
            continue;
        }
        for (const Mode &mode : kModes) {
            RunLoop(subject, mode, clean, base.path(), loop);
            const std::string name = subject.name + " " + mode.name;
            std::printf("%-36s %5ld injected %5ld held\n", name.c_str(), loop.injected, loop.held);
            for (std::string_view log(loop.log, loop.logSize); !log.empty();) {
                const std::size_t end = std::min(log.find('\n'), log.size());
                failures.push_back(name + ", " + std::string(log.substr(0, end)));
                log.remove_prefix(std::min(end + 1, log.size()));
            }
            if (!loop.done) {
                failures.push_back(name + ": still failing after " + std::to_string(kMaxSteps) + " steps");
            }
        }
    }
    for (const std::string &failure : failures) {
        std::printf("NOT HELD: %s\n", failure.c_str());
    }
    return failures;
}

TEST(FaultInjection, ReadersFindOrReportAReadError)
{
    EXPECT_TRUE(InjectAll(OnBoth(Readers)).empty());
}

TEST(FaultInjection, WritersChangeAllOrNothing)
{
    EXPECT_TRUE(InjectAll(OnBoth(Writers)).empty());
}

TEST(FaultInjection, CreatorsMakeAllOrNothing)
{
    EXPECT_TRUE(InjectAll(Writers(std::nullopt)).empty());
}

// Where the file system has no unnamed files the temporary file has a name
// from the start: it must still never stay behind.
TEST(FaultInjection, NamedTemporaryFilesAreRemovedOnEveryFailure)
{
    fault::RefuseUnnamedFiles(true);
    std::vector<Subject> subjects = Writers(std::nullopt);
    for (Subject &subject : Writers(kBase)) {
        subjects.push_back(std::move(subject));
    }
    EXPECT_TRUE(InjectAll(subjects).empty());
    fault::RefuseUnnamedFiles(false);
}

} // namespace
