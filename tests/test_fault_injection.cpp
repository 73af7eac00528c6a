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
#include "file_support.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <sys/mman.h>
#include <sys/xattr.h>

using namespace test;

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
    {"ENOMEM", fault::Kind::kAlloc, ENOMEM},      {"EIO", fault::Kind::kIo, EIO},
    {"ENOSPC", fault::Kind::kIo, ENOSPC},         {"EDQUOT", fault::Kind::kIo, EDQUOT},
    {"short write", fault::Kind::kShortWrite, 0},
};
constexpr Mode kNoFaults = {"none", fault::Kind::kOff, 0};

// What a reader found: the buffer, the pairs of the hash (sorted) and the
// items of the list.
std::string Found(const Args &args)
{
    std::set<std::string> pairs;
    for (int i = 0; i < args.hash->nSlot; ++i) {
        const SzHashSlot &slot = args.hash->rgSlot[i];
        if (slot.pszKey != nullptr && slot.pszVal != nullptr) {
            pairs.insert(std::string(slot.pszKey) + "=" + slot.pszVal);
        }
    }
    std::string text = args.buf;
    for (const std::string &pair : pairs) {
        text += "\n" + pair;
    }
    for (int i = 0; i < args.keys->nItem; ++i) {
        text += "\n" + std::string(args.keys->pszItem[i]);
    }
    return text;
}

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

// Where a writer's target lies: a plain file in a directory of the writer's;
// a link to it there; a file in a directory the writer's group may write in
// too, where temporary names are made in a private directory; a file with
// an extended attribute to carry over.
enum class Layout { kPlain, kThroughLink, kSharedDir, kAttribute };

constexpr char kLinked[] = "real";
constexpr char kAttribute[] = "user.velkc-test";

struct Subject {
    std::string name;
    Layout layout;
    bool reader;
    std::optional<std::string> before; // the target before the call, if any
    int failure;                       // the result that reports a failure
    FileCall call;
};

std::vector<Subject> Readers()
{
    std::vector<Subject> subjects;
    for (const std::string &content : {kBase, kLarge}) {
        for (const Reader &reader : AllReaders()) {
            const std::string name = reader.name + std::string(content == kLarge ? " (large)" : "");
            subjects.push_back({name, Layout::kPlain, true, content, reader.failure, reader.call});
        }
    }
    return subjects;
}

// The writers on kBase, on kLarge, or on a missing file for those that
// create it, in one layout.
std::vector<Subject> Writers(std::initializer_list<std::optional<std::string>> contents, Layout layout = Layout::kPlain)
{
    const char *const where[] = {"", " (through a link)", " (shared directory)", " (attribute)"};
    std::vector<Subject> subjects;
    for (const std::optional<std::string> &content : contents) {
        for (const Writer &writer : AllWriters()) {
            if (content || writer.creates) {
                const char *const on = !content ? " (missing)" : *content == kLarge ? " (large)" : "";
                subjects.push_back({writer.name + std::string(on) + where[static_cast<int>(layout)], layout, false,
                                    content, -1, writer.call});
            }
        }
    }
    return subjects;
}

// What a call did and left: its result, the error record, what a reader
// found, a descriptor on the case directory left open, the target, whether
// it kept its extended attribute, and the names in the directory afterwards
// beside those of the layout.
struct Case {
    int result = 0;
    unsigned error = 0;
    std::string found;
    std::string leakedFd;
    std::optional<std::string> content;
    bool attributeKept = true;
    std::set<std::string> names;
};

// Sets up the layout's files in dir around content; the name of the file
// that the writer changes.
const char *Lay(Layout layout, const fs::path &dir, const std::string &content)
{
    if (layout == Layout::kThroughLink) {
        WriteFile(dir / kLinked, content);
        fs::create_symlink(kLinked, dir / kTarget);
        return kLinked;
    }
    WriteFile(dir / kTarget, content);
    if (layout == Layout::kSharedDir) {
        fs::permissions(dir, fs::perms::group_write, fs::perm_options::add);
    } else if (layout == Layout::kAttribute) {
        setxattr((dir / kTarget).c_str(), kAttribute, "1", 1, 0);
    }
    return kTarget;
}

bool HasAttribute(const fs::path &file)
{
    char value[4];
    return getxattr(file.c_str(), kAttribute, value, sizeof value) == 1;
}

// One call of a subject, armed, on a fresh directory under base.
Case RunCase(const Subject &subject, const Mode &mode, long k, const fs::path &base, fault::Record &record)
{
    const fs::path dir = base / std::to_string(k);
    fs::create_directory(dir);
    const fs::path target = dir / kTarget;
    const char *changed = subject.before ? Lay(subject.layout, dir, *subject.before) : kTarget;
    Case result;
    {
        Args args;
        ResetError();
        fault::Arm(mode.kind, k, mode.error, changed, &record);
        result.result = subject.call(target.c_str(), args);
        fault::Disarm();
        result.error = VELKCErrGet();
        result.found = Found(args);
    }
    result.leakedFd = DescriptorUnder(dir);
    result.names = ListDir(dir);
    result.names.erase(kTarget);
    // A commit that could not remove its private directory after the rename
    // says so: the change is in place, but the commit did not end cleanly.
    std::erase_if(result.names, [&](const std::string &name) {
        return result.error == ERR_NOT_DURABLE && fs::is_directory(dir / name) && fs::is_empty(dir / name);
    });
    if (subject.layout == Layout::kThroughLink) {
        result.names.erase(kLinked);
    }
    if (fs::exists(target)) {
        result.content = ReadFile(target);
        result.attributeKept = subject.layout != Layout::kAttribute || HasAttribute(target);
    }
    RemoveTree(dir);
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

// The codes a failure of mode may report; a failure that leaves the new
// file in place, only that its durability is not confirmed.
bool Acceptable(const Subject &subject, const Mode &mode, unsigned code, bool changed)
{
    if (changed) {
        return code == ERR_NOT_DURABLE;
    }
    if (mode.kind == fault::Kind::kAlloc) {
        return code == ERR_OUT_OF_MEMORY;
    }
    if (subject.reader) {
        return code == ERR_OPEN_FAILED || code == ERR_READ_FAILED;
    }
    static const std::set<unsigned> io = {ERR_OPEN_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED,
                                          ERR_SEEK_FAILED, ERR_STAT_FAILED, ERR_RENAME_FAILED};
    return io.contains(code) || (code == ERR_QUOTA_EXCEEDED && mode.error == EDQUOT);
}

// What the call reported, as the listing shows it.
std::string Reported(const Case &run)
{
    const bool notFound = run.error == ERR_KEY_NOT_FOUND || run.error == ERR_SECTION_NOT_FOUND;
    return "returned " + std::to_string(run.result) + " with " + Hex(run.error) + (notFound ? " (not found)" : "");
}

// Why a case did not hold; empty when it held.
std::vector<std::string> Faults(const Subject &subject, const Mode &mode, const Case &clean, const Case &run,
                                const fault::Record &record)
{
    std::vector<std::string> faults;
    const bool changed = record.failedAfterCommit && run.content == clean.content && run.content != subject.before;
    if (run.result == clean.result && run.found != clean.found) {
        faults.push_back("found " + Quoted(run.found) + " instead of " + Quoted(clean.found));
    } else if (run.result != clean.result && run.result != subject.failure) {
        faults.push_back(Reported(run));
    } else if (run.result != clean.result && !Acceptable(subject, mode, run.error, changed)) {
        faults.push_back("failed, but " + Reported(run));
    }
    // A writer that did its work leaves the new version; one that failed,
    // the old, or the new when it failed after putting it in place.
    std::set<std::optional<std::string>> allowed = {subject.before};
    if (!subject.reader && run.result == clean.result) {
        allowed = {clean.content};
    } else if (!subject.reader && record.failedAfterCommit) {
        allowed.insert(clean.content);
    }
    if (!allowed.contains(run.content)) {
        faults.push_back("left the target " + (run.content ? Quoted(*run.content) : std::string("missing")));
    }
    if (!run.attributeKept) {
        faults.push_back("dropped the target's extended attribute");
    }
    for (const std::string &name : run.names) {
        faults.push_back("left \"" + name + "\" in the directory");
    }
    if (!run.leakedFd.empty()) {
        faults.push_back("left a descriptor open on " + run.leakedFd);
    }
    return faults;
}

// The progress of one loop, in memory shared with its workers.
struct Loop {
    fault::Record record; // of the case in progress
    long k;               // the step in progress
    long injected;
    long held;
    bool done; // a call ran through with no fault left to inject
    std::size_t logSize;
    char log[1 << 16]; // the cases that did not hold, one a line

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

class SharedLoop : NoCopy {
public:
    SharedLoop()
        : loop_(static_cast<Loop *>(
              mmap(nullptr, sizeof(Loop), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {}
    ~SharedLoop() { munmap(loop_, sizeof(Loop)); }

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

// Runs every mode's loop on every subject; prints the tallies and returns
// the cases that did not hold.
std::vector<std::string> InjectAll(const std::vector<Subject> &subjects)
{
    // On tmpfs where there is one: the thousands of fsync calls then cost
    // nothing, whatever else the disk is doing.
    const TempDir base(fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path());
    const SharedLoop shared;
    Loop &loop = shared.get();
    std::vector<std::string> failures;
    for (const Subject &subject : subjects) {
        const Case clean = RunCase(subject, kNoFaults, 0, base.path(), loop.record);
        if (clean.result == subject.failure) {
            failures.push_back(subject.name + ": fails without faults: " + Reported(clean));
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

TEST(FaultInjection, ReadersFindOrReportAReadError) { EXPECT_TRUE(InjectAll(Readers()).empty()); }

TEST(FaultInjection, WritersChangeAllOrNothing) { EXPECT_TRUE(InjectAll(Writers({kBase, kLarge})).empty()); }

// Every step of following a link, making names in a private directory and
// carrying extended attributes over.
TEST(FaultInjection, WritersElsewhereChangeAllOrNothing)
{
    for (const Layout layout : {Layout::kThroughLink, Layout::kSharedDir, Layout::kAttribute}) {
        EXPECT_TRUE(InjectAll(Writers({kBase}, layout)).empty());
    }
}

TEST(FaultInjection, CreatorsMakeAllOrNothing) { EXPECT_TRUE(InjectAll(Writers({std::nullopt})).empty()); }

// Where the file system has no unnamed files the temporary file has a name
// from the start: it must still never stay behind.
TEST(FaultInjection, NamedTemporaryFilesAreRemovedOnEveryFailure)
{
    fault::RefuseUnnamedFiles(true);
    EXPECT_TRUE(InjectAll(Writers({std::nullopt, kBase})).empty());
    fault::RefuseUnnamedFiles(false);
}

} // namespace
