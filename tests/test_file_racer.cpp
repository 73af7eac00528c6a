// An unprivileged user racing root's writers. In a sticky world-writable
// directory, the user's own or root's, the user plants or swaps in symbolic
// and hard links as the target, as its directory or as its temporary name,
// puts FIFOs and devices in the target's place, changes its mode during a
// write, or holds a reader's flock on it. Whatever the user does, a root
// writer must not change or create root's files elsewhere, leave root's
// secret bytes where the user can read them, leave at a target whose name
// the user leaves alone anything but a file of the target's owner and old or
// new mode, or block. A refusal is not an escape. The user is an id no
// account has, taken on in forked children; the test needs root.
#include "file_support.hpp"
#include "internal/internal.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <grp.h>
#include <map>
#include <memory>
#include <new>
#include <poll.h>
#include <pwd.h>
#include <random>
#include <sched.h>
#include <string_view>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/sysmacros.h>
#include <thread>
#include <vector>

using namespace test;

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr char kName[] = "t.conf";
// A call that takes longer was blocked.
constexpr auto kCallBound = 6000ms;
// Under a reader's flock: a writer that waits for it reaches the lock
// time-out; one that locks nothing a reader can lock never comes near it.
constexpr long kLockBoundMs = VELKC_FILE_LOCK_TIMEOUT_MS / 2;
// The modes the user gives the target in turn; not the temporary file's 0600.
constexpr mode_t kUserModes[] = {0644, 0777, 0640};
// Exit codes of the user's children: no switch to the user, no attack set up, an exception.
constexpr int kNoUser = 2, kNoSetup = 3, kThrew = 4;

[[noreturn]] void Fail(const std::string &what) { throw std::system_error(errno, std::generic_category(), what); }
void Nap() { std::this_thread::sleep_for(20us); }

// Waits up to 5 s for done; its last answer.
bool Until(const std::function<bool()> &done)
{
    for (const Clock::time_point deadline = Clock::now() + 5s; !done(); Nap()) {
        if (Clock::now() > deadline) {
            return false;
        }
    }
    return true;
}

bool Exchange(const fs::path &a, const fs::path &b)
{
    return renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

bool IsLink(const fs::path &path)
{
    std::error_code ec;
    return fs::is_symlink(fs::symlink_status(path, ec));
}

// The content of path when it is a regular file, opened so that a FIFO or a
// device put in its place neither blocks nor is read.
std::string ReadRegular(const fs::path &path)
{
    const velkc::UniqueFd fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat st;
    std::string text;
    char buf[4096];
    for (ssize_t n; fd && fstat(fd.get(), &st) == 0 && S_ISREG(st.st_mode) && text.size() < (1u << 20) &&
                    (n = read(fd.get(), buf, sizeof buf)) > 0;) {
        text.append(buf, std::size_t(n));
    }
    return text;
}

// Names, types, modes, owners, inodes and contents of what dir holds.
std::string Snapshot(const fs::path &dir)
{
    std::string all;
    for (const std::string &name : ListDir(dir)) {
        struct stat st {};
        lstat((dir / name).c_str(), &st);
        all += name + " " + std::to_string(st.st_mode) + " " + std::to_string(st.st_uid) + ":" +
               std::to_string(st.st_gid) + " " + std::to_string(st.st_ino) + "\n" + ReadRegular(dir / name) + "\n";
    }
    return all;
}

// A file-system protection sysctl, put back when the object goes away.
class Sysctl : NoCopy {
public:
    explicit Sysctl(const char *name) : path_(fs::path("/proc/sys/fs") / name), saved_(Get()) {}
    ~Sysctl() { Set(saved_); }

    bool Set(int value)
    {
        std::ofstream(path_) << value;
        return Get() == value;
    }
    int Get() const { return std::stoi(ReadFile(path_)); }
    int saved() const { return saved_; }

private:
    fs::path path_;
    int saved_;
};

// Runs body in a child that drops root for good for id as user and group,
// and dies with its parent; an exception ends the child, not the test.
pid_t ForkAsUser(unsigned id, const std::function<int()> &body)
{
    const pid_t parent = getpid();
    const pid_t pid = ForkChild([&] {
        try {
            // The change of credentials clears the parent-death signal: it is set after it.
            const bool became = setgroups(0, nullptr) == 0 && setresgid(id, id, id) == 0 &&
                                setresuid(id, id, id) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
                                getppid() == parent;
            return became ? body() : kNoUser;
        } catch (...) {
            return kThrew;
        }
    });
    if (pid < 0) {
        Fail("fork");
    }
    return pid;
}

constexpr int kCounts = 4;

// What root and a racer share, in memory mapped before the fork.
struct Board {
    std::atomic<bool> ready{false}, stop{false}; // the racer has set up its attack; it is to stop
    std::atomic<ino_t> modeTarget{0};            // the inode whose mode the racer changes; none when 0
    std::atomic<long> count[kCounts]{};          // what the racer did, as the attack names it
};

// body run as the user on a fresh board; stopped and reaped at the end.
class Racer : NoCopy {
public:
    Racer(unsigned user, Board &board, const std::function<int()> &body)
        : b_(*new (&board) Board), pid_(ForkAsUser(user, body))
    {}
    ~Racer() { Stop(); }

    // True once the racer is ready; false when it ended first or after 5 s.
    bool Start()
    {
        return Until([&] { return b_.ready || Ended(); }) && b_.ready;
    }

    // Stops the racer: its exit code, -1 when it did not exit by itself.
    int Stop()
    {
        b_.stop = true;
        if (!Until([&] { return Ended(); })) {
            kill(pid_, SIGKILL);
            status_ = WaitChild(std::exchange(pid_, -1));
        }
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
    }

private:
    bool Ended()
    {
        if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) {
            pid_ = -1;
        }
        return pid_ <= 0;
    }

    Board &b_;
    pid_t pid_;
    int status_ = -1;
};

struct Layout {
    const char *name;
    bool userDir; // else root's
    mode_t dirMode;
    bool userTarget; // else root's
    mode_t targetMode;
};

constexpr Layout kSticky{"sticky dir", false, 01777, true, 0644};
constexpr Layout kUserDir{"user dir", true, 0755, true, 0644};
constexpr Layout kRootDir{"root dir", false, 0755, true, 0644};
constexpr Layout kUserDirRootFile{"user dir, root file", true, 0755, false, 0600};
constexpr Layout kRootDirRootFile{"root dir, root file", false, 0755, false, 0644};

// Where the user can rename the target and its directory; where the target
// is the user's; where the user can open it.
const std::vector<Layout> kRenamable = {kSticky, kUserDir, kUserDirRootFile};
const std::vector<Layout> kUsersTarget = {kSticky, kUserDir, kRootDir};
const std::vector<Layout> kReadable = {kSticky, kUserDir, kRootDir, kRootDirRootFile};

enum class Kind {
    kPlantedLink, // the target is a link to the canary
    kLinkSwap,    // the target and such a link swap places over and over
    kParentLink,  // the target's directory is a link to the vault
    kParentSwap,  // the directory and such a link swap places over and over
    kHardLink,    // the target is a hard link of the canary
    kTempSwap,    // the writer's temporary name is swapped for a link or taken away
    kNodeSwap,    // FIFOs, a device and plain files put in the target's place
    kModes,       // the target's mode changed during every write
    kReaderLock,  // a reader's shared flock on the target
};

// The target holds the secret where the user cannot read it.
bool Secret(const Layout &l) { return !l.userTarget && !(l.targetMode & S_IROTH); }

bool Planted(Kind kind) { return kind == Kind::kPlantedLink || kind == Kind::kParentLink || kind == Kind::kHardLink; }
bool OnDir(Kind kind) { return kind == Kind::kParentLink || kind == Kind::kParentSwap; }
// After any call the target is the old file or the writer's: the user leaves its name alone.
bool LeavesName(Kind kind) { return kind == Kind::kTempSwap || kind == Kind::kModes || kind == Kind::kReaderLock; }

struct Attack {
    const char *name;
    Kind kind;
    int rounds;                         // planted: each writer on a fresh plant, the outcome hardly varies
    int protectedHardlinks;             // fs.protected_hardlinks while it runs
    const std::vector<Layout> &layouts; // where the user can mount it
    std::vector<const char *> counts;   // what the racer counts, in order
};

const std::vector<const char *> kTempCounts = {"names seen", "swapped for a symlink", "for a hard link",
                                               "renamed away"};
const std::vector<Attack> kAttacks = {
    {"planted symlink", Kind::kPlantedLink, 3, 1, kRenamable, {"planted"}},
    {"symlink swap", Kind::kLinkSwap, 12, 1, kRenamable, {"swaps", "links made again"}},
    {"parent symlink", Kind::kParentLink, 3, 1, kRenamable, {"planted"}},
    {"parent swap", Kind::kParentSwap, 12, 1, kRenamable, {"swaps"}},
    {"hard link", Kind::kHardLink, 3, 0, kRenamable, {"linked"}},
    {"temp-name swap", Kind::kTempSwap, 24, 0, kRenamable, kTempCounts},
    {"FIFO/device swap", Kind::kNodeSwap, 12, 1, kRenamable, {"FIFOs", "devices", "files"}},
    {"owner/mode race", Kind::kModes, 12, 1, kUsersTarget, {"mode changes"}},
    {"reader's flock", Kind::kReaderLock, 1, 1, kReadable, {"flocks taken"}},
};

// What went wrong after a call, one bit each.
constexpr unsigned kRootFile = 1, kSecret = 2, kOverTime = 4, kTarget = 8;
constexpr const char *kReasonNames[] = {"root files changed or made", "secret readable by the user",
                                        "call over its time bound", "target a link, or of another owner or mode"};

struct Outcome {
    int result;
    unsigned error;
    long ms;
};

struct Tally {
    int rounds = 0;
    long calls = 0, succeeded = 0, escapes = 0;
    long checked = 0;     // new files at the target whose owner and mode were checked
    bool blocked = false; // a call had to be freed: the rest were not made
    long counts[kCounts] = {};
    std::map<std::string, long> failed, escaped; // by error code; by reason and writer

    void Call(const Writer &writer, const Outcome &o, unsigned found)
    {
        char code[16];
        std::snprintf(code, sizeof code, "0x%04X", o.error);
        ++calls;
        o.result != -1 ? ++succeeded : ++failed[code];
        escapes += found != 0;
        for (std::size_t i = 0; i < std::size(kReasonNames); ++i) {
            if ((found >> i) & 1) {
                ++escaped[std::string(kReasonNames[i]) + " by " + writer.name];
            }
        }
    }

    void Print(const Layout &l, const Attack &a) const
    {
        std::string did, failures;
        for (std::size_t i = 0; i < a.counts.size(); ++i) {
            did += (i == 0 ? "" : ", ") + std::string(a.counts[i]) + " " + std::to_string(counts[i]);
        }
        did += LeavesName(a.kind) ? ", new files checked " + std::to_string(checked) : "";
        did += blocked ? "; ended at a call that blocked" : "";
        for (const auto &[code, n] : failed) {
            failures += " " + code + " x" + std::to_string(n);
        }
        std::printf("%-19s / %-16s: %3d rounds, %4ld calls, %4ld escapes; %4ld calls succeeded; user: %s\n%s", l.name,
                    a.name, rounds, calls, escapes, succeeded, did.c_str(),
                    failures.empty() ? "" : ("    failed calls:" + failures + "\n").c_str());
        std::fflush(stdout);
    }

    std::string Escapes() const
    {
        std::string all;
        for (const auto &[what, n] : escaped) {
            all += what + " x" + std::to_string(n) + "\n";
        }
        return all;
    }
};

// Calls the writers on target at once, each in a thread of its own. Calls
// still running after kCallBound are caught in a trap of the user's: rescue
// is called then, and every 100 ms until they return, so that the test
// reports them rather than hangs.
std::vector<Outcome> CallAtOnce(const std::vector<const Writer *> &writers, const fs::path &target,
                                const std::function<void()> &rescue)
{
    std::vector<std::future<Outcome>> calls;
    for (const Writer *writer : writers) {
        calls.push_back(std::async(std::launch::async, [&target, writer] {
            Args args;
            ResetError();
            const Clock::time_point start = Clock::now();
            const int result = writer->call(target.c_str(), args);
            const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
            return Outcome{result, VELKCErrGet(), long(ms)};
        }));
    }
    const Clock::time_point deadline = Clock::now() + kCallBound;
    std::vector<Outcome> outcomes;
    for (std::future<Outcome> &call : calls) {
        for (auto ready = call.wait_until(deadline); ready != std::future_status::ready; ready = call.wait_for(100ms)) {
            rescue();
        }
        outcomes.push_back(call.get());
    }
    return outcomes;
}

class UnprivilegedRacer : public ScratchTest {
protected:
    void SetUp() override
    {
        if (const char *why = Unsupported()) {
            std::printf("skipped: %s\n", why);
            GTEST_SKIP() << why;
        }
        fs::permissions(dir_, fs::perms(0755)); // the user walks into the layouts
        std::random_device random;
        char secret[40];
        std::snprintf(secret, sizeof secret, "root-secret-%08x%08x", random(), random());
        secret_ = secret;
        fs::create_directory(vault_);
        Own(vault_, false, 0711); // not listable, but a user can hard link what is in it
        std::printf("unprivileged user %u:%u; fs.protected_symlinks 0; fs.protected_hardlinks 1, 0 for the "
                    "hard link and temp-name attacks (they were %d and %d and are restored)\n",
                    *user_, *user_, symlinks_->saved(), hardlinks_->saved());
    }

    // Runs the attacks of the given kinds where the user can mount them.
    void Run(const std::vector<Kind> &kinds)
    {
        // A writer freed from a FIFO may write to it after its reader is gone.
        const Guard noBrokenPipe = SetSignal(SIGPIPE, SIG_IGN);
        for (const Attack &a : kAttacks) {
            if (std::ranges::find(kinds, a.kind) == kinds.end()) {
                continue;
            }
            ASSERT_TRUE(hardlinks_->Set(a.protectedHardlinks));
            for (const Layout &l : a.layouts) {
                SCOPED_TRACE(std::string(l.name) + " / " + a.name);
                const Tally t = RunIn(l, a);
                t.Print(l, a);
                EXPECT_EQ(t.escapes, 0) << t.Escapes();
                // The attack did what it claims, so that no escape means something.
                for (std::size_t i = 0; i < a.counts.size(); ++i) {
                    EXPECT_TRUE(t.counts[i] > 0 || (i > 0 && a.kind != Kind::kNodeSwap)) << a.counts[i];
                }
                EXPECT_TRUE(t.checked > 0 || a.kind != Kind::kModes) << "no rewritten file was checked";
            }
        }
    }

private:
    // Why the test cannot run here; null when it can.
    const char *Unsupported()
    {
        if (!IsRoot()) {
            return "needs root, to write as root and to act as an unprivileged user";
        }
        // An id that no user and no group has: a user nobody can log in as.
        for (unsigned id = 60001; id < 65534 && !user_; ++id) {
            user_ = getpwuid(id) == nullptr && getgrgid(id) == nullptr ? std::optional(id) : std::nullopt;
        }
        if (!user_) {
            return "no id above 60000 is free for an unprivileged user";
        }
        symlinks_.emplace("protected_symlinks");
        hardlinks_.emplace("protected_hardlinks");
        // The kernel's own link protections off: the writers must not need them.
        const bool set = symlinks_->Set(0) && hardlinks_->Set(1);
        return set ? nullptr : "cannot set fs.protected_symlinks and fs.protected_hardlinks here";
    }

    // Calls every writer in rounds, in scenes root makes afresh: a planted
    // attack gets one for each call, the others one for each round, so that
    // what one writer left the user can use on the next. Under a reader's
    // flock the writers are called at once: the lock time-out is paid once.
    Tally RunIn(const Layout &l, const Attack &a)
    {
        targetDir_ = OnDir(a.kind) ? layout_ / "sub" : layout_;
        target_ = targetDir_ / kName;
        const Guard removeLayout([this] { RemoveTree(layout_); });
        std::vector<const Writer *> writers;
        for (const Writer &writer : AllWriters()) {
            writers.push_back(&writer);
        }
        const std::size_t perScene = Planted(a.kind) ? 1 : writers.size();
        const std::size_t perCall = a.kind == Kind::kReaderLock ? writers.size() : 1;
        const long bound = a.kind == Kind::kReaderLock ? kLockBoundMs : kCallBound.count();
        Tally t;
        for (; t.rounds < a.rounds && !t.blocked; ++t.rounds) {
            for (std::size_t scene = 0; scene < writers.size() && !t.blocked; scene += perScene) {
                // The vault holds a file of the target's name in every other
                // scene, for writers sent into the vault as the target's directory.
                const bool vaultTarget = (std::size_t(t.rounds) + scene) % 2 == 0;
                Reset(l, a.kind, vaultTarget);
                std::string vault = Snapshot(vault_);
                Racer racer(*user_, *board_, [&] { return Race(a.kind); });
                if (!racer.Start()) {
                    ADD_FAILURE() << "the racer did not start: exit " << racer.Stop();
                    return t;
                }
                // Frees a writer caught in the user's trap: the racer stops,
                // which drops its flock, and the FIFO is opened at both ends.
                const auto rescue = [&] {
                    t.blocked = true;
                    racer.Stop();
                    const velkc::UniqueFd fifo(open(Aux("fifo").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
                    std::this_thread::sleep_for(20ms);
                };
                for (std::size_t call = scene; call < scene + perScene && !t.blocked; call += perCall) {
                    const std::vector<const Writer *> batch(writers.begin() + long(call),
                                                            writers.begin() + long(call + perCall));
                    struct stat before {};
                    lstat(target_.c_str(), &before);
                    board_->modeTarget = a.kind == Kind::kModes ? before.st_ino : 0;
                    const std::vector<Outcome> outcomes = CallAtOnce(batch, target_, rescue);
                    board_->modeTarget = 0;
                    const unsigned found = Check(l, a.kind, vault, vaultTarget, before, t);
                    for (std::size_t i = 0; i < batch.size(); ++i) {
                        t.Call(*batch[i], outcomes[i], found | (outcomes[i].ms > bound ? kOverTime : 0));
                    }
                }
                EXPECT_EQ(racer.Stop(), 0) << "the racer's exit";
                for (int i = 0; i < kCounts; ++i) {
                    t.counts[i] += board_->count[i];
                }
            }
        }
        return t;
    }

    // The user's side, run in the racer.
    int Race(Kind kind)
    {
        Board &b = *board_;
        if (kind == Kind::kTempSwap) {
            return SwapTempNames();
        }
        const fs::path link = Aux("link");
        // The FIFO, and the device root left the user: every one put in place is a link of these.
        const fs::path nodes[] = {Aux("fifo"), Aux("dev")};
        // What the link attacks put a link in the place of, and where it leads.
        const fs::path &place = OnDir(kind) ? targetDir_ : target_;
        const fs::path &aim = OnDir(kind) ? vault_ : canary_;
        bool set = true;
        if (Planted(kind)) {
            set = rename(place.c_str(), Aux("aside").c_str()) == 0 &&
                  (kind == Kind::kHardLink ? ::link : symlink)(aim.c_str(), place.c_str()) == 0;
            b.count[0] += set;
        } else if (kind == Kind::kLinkSwap || kind == Kind::kParentSwap) {
            set = symlink(aim.c_str(), link.c_str()) == 0;
        } else if (kind == Kind::kNodeSwap) {
            set = mkfifo(nodes[0].c_str(), 0666) == 0;
        }
        b.ready = set && kind != Kind::kReaderLock;
        velkc::UniqueFd held; // the reader's
        struct stat st {};
        ino_t heldInode = 0;
        for (long turn = 0; set && !b.stop; ++turn) {
            switch (kind) {
            case Kind::kLinkSwap:
                // A link a writer renamed a file over is made again.
                if (!IsLink(link) && !IsLink(target_) && rename(link.c_str(), Aux("spare").c_str()) == 0 &&
                    symlink(canary_.c_str(), link.c_str()) == 0) {
                    ++b.count[1];
                }
                [[fallthrough]];
            case Kind::kParentSwap:
                b.count[0] += Exchange(place, link);
                break;
            case Kind::kNodeSwap: {
                const fs::path fresh = Aux("new");
                const int node = int(turn % 3);
                unlink(fresh.c_str());
                const bool made =
                    node < 2 ? ::link(nodes[node].c_str(), fresh.c_str()) == 0 : bool(std::ofstream(fresh) << kBase);
                b.count[node] += made && rename(fresh.c_str(), target_.c_str()) == 0;
                break;
            }
            case Kind::kModes: {
                // Only the inode root names, never a file that replaced it, so that the mode a writer gave its file
                // stays to be checked; through a descriptor, so that the inode checked is the one changed.
                const velkc::UniqueFd fd(open(target_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
                if (b.modeTarget != 0 && fd && fstat(fd.get(), &st) == 0 && st.st_ino == b.modeTarget) {
                    const std::string self = "/proc/self/fd/" + std::to_string(fd.get());
                    b.count[0] += chmod(self.c_str(), kUserModes[turn % std::size(kUserModes)]) == 0;
                } else {
                    Nap();
                }
                break;
            }
            case Kind::kReaderLock: {
                // A shared flock on the target and on every file that replaces it, as any reader may take.
                velkc::UniqueFd fd(open(target_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
                if (fd && fstat(fd.get(), &st) == 0 && S_ISREG(st.st_mode) && st.st_ino != heldInode &&
                    flock(fd.get(), LOCK_SH | LOCK_NB) == 0) {
                    held = std::move(fd);
                    heldInode = st.st_ino;
                    ++b.count[0];
                    b.ready = true;
                }
                std::this_thread::sleep_for(100us);
                break;
            }
            default:
                Nap();
            }
        }
        return set ? 0 : kNoSetup;
    }

    // Swaps every "<target>.XXXXXX" that appears, a writer's temporary file
    // or its private directory, for a link to the canary or a hard link of
    // it, or renames it away, as the name decides. The name lives for a
    // moment: a watcher sleeps on each CPU, bound to it, and the one on the
    // writer's CPU, woken by the writer's link or mkdir, often runs first.
    int SwapTempNames()
    {
        Board &b = *board_;
        cpu_set_t cpus;
        std::atomic<int> armed{0};
        std::atomic<bool> failed{sched_getaffinity(0, sizeof cpus, &cpus) != 0};
        // Every watcher sees every name: each is counted once.
        std::atomic<std::size_t> lastSeen{0}, lastSwapped{0};
        const auto first = [](std::atomic<std::size_t> &last, std::size_t name) { return last.exchange(name) != name; };
        const auto watch = [&](int cpu) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(cpu, &one);
            const std::string mine = std::to_string(cpu);
            const fs::path bait[] = {Aux("symbait" + mine), Aux("hardbait" + mine)};
            const auto makeBait = [&](int kind) {
                return (kind == 0 ? symlink : link)(canary_.c_str(), bait[kind].c_str()) == 0;
            };
            const velkc::UniqueFd inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
            if (!inotify || inotify_add_watch(inotify.get(), targetDir_.c_str(), IN_CREATE | IN_MOVED_TO) < 0 ||
                sched_setaffinity(0, sizeof one, &one) != 0 || !makeBait(0) || !makeBait(1)) {
                failed = true;
                return;
            }
            ++armed;
            alignas(inotify_event) char events[4096];
            pollfd ready{inotify.get(), POLLIN, 0};
            for (long taken = 0; !b.stop && !failed;) {
                const ssize_t n = poll(&ready, 1, 10) == 1 ? read(inotify.get(), events, sizeof events) : 0;
                for (ssize_t at = 0; at < n;) {
                    const auto *event = reinterpret_cast<const inotify_event *>(events + at);
                    at += ssize_t(sizeof(inotify_event) + event->len);
                    const std::string_view name(event->len != 0 ? event->name : "");
                    if (name.size() != sizeof kName + 6 || !name.starts_with(kName) || name[sizeof kName - 1] != '.') {
                        continue;
                    }
                    const std::size_t hash = std::hash<std::string_view>{}(name);
                    b.count[0] += first(lastSeen, hash);
                    const fs::path temp = targetDir_ / name;
                    const fs::path away = Aux("taken" + mine + "-" + std::to_string(taken));
                    // Only a name that still exists is exchanged or renamed: a hit is a real swap.
                    const int kind = int(hash % 3);
                    if (kind < 2 ? !Exchange(temp, bait[kind])
                                 : renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, away.c_str(), RENAME_NOREPLACE) != 0) {
                        continue;
                    }
                    b.count[1 + kind] += first(lastSwapped, hash);
                    ++taken;
                    // The bait's name now holds what the writer made: keep it, and bait again.
                    if (kind < 2 && rename(bait[kind].c_str(), away.c_str()) == 0 && !makeBait(kind)) {
                        failed = true;
                    }
                }
            }
        };
        std::vector<std::jthread> watchers;
        for (int cpu = 0; cpu < CPU_SETSIZE && !failed; ++cpu) {
            if (CPU_ISSET(cpu, &cpus)) {
                watchers.emplace_back(watch, cpu);
            }
        }
        b.ready = Until([&] { return armed == int(watchers.size()) || failed; }) && !failed;
        watchers.clear(); // they watch until root stops the race
        return b.ready ? 0 : kNoSetup;
    }

    // The user's names.
    fs::path Aux(const std::string &name) const { return layout_ / ("_" + name); }

    // Gives path to the user or to root, with mode.
    void Own(const fs::path &path, bool users, mode_t mode) const
    {
        if (chown(path.c_str(), users ? *user_ : 0, users ? *user_ : 0) != 0 || chmod(path.c_str(), mode) != 0) {
            Fail("making " + path.string());
        }
    }

    void MakeFile(const fs::path &path, bool users, mode_t mode, bool secret) const
    {
        WriteFile(path, secret ? kBase + "secret=" + secret_ + "\n" : kBase);
        Own(path, users, mode);
    }

    // A fresh scene: root's vault; the layout with the target alone, in the
    // user's subdirectory for the attacks on it, and a device for the user.
    void Reset(const Layout &l, Kind kind, bool vaultTarget)
    {
        RestoreVault(vaultTarget);
        RemoveTree(layout_);
        fs::create_directory(layout_);
        Own(layout_, l.userDir, l.dirMode);
        if (targetDir_ != layout_) {
            fs::create_directory(targetDir_);
            Own(targetDir_, true, 0755);
        }
        MakeFile(target_, l.userTarget, l.targetMode, Secret(l));
        if (kind == Kind::kNodeSwap) {
            mknod(Aux("dev").c_str(), S_IFCHR | 0666, makedev(1, 3));
            Own(Aux("dev"), true, 0666);
        }
    }

    // The canary alone, and with target a root file of the target's name.
    // The canary is rewritten in place: links the user made of it stay links of it.
    void RestoreVault(bool target)
    {
        for (const std::string &name : ListDir(vault_)) {
            if (vault_ / name != canary_ || IsLink(canary_) || !fs::is_regular_file(canary_)) {
                fs::remove_all(vault_ / name);
            }
        }
        MakeFile(canary_, false, 0600, true);
        if (target) {
            MakeFile(vault_ / kName, false, 0600, true);
        }
    }

    // What a call changed that it must not, each put back so that it counts
    // once: root's vault; a file holding the secret that the user can read
    // (the canary's links are the vault's); and, where the user leaves the
    // target's name alone, anything there but a file of one link with the
    // target's owner and old mode (or one of the user's, under the mode race).
    unsigned Check(const Layout &l, Kind kind, std::string &vault, bool vaultTarget, const struct stat &before,
                   Tally &t)
    {
        unsigned found = 0;
        if (Snapshot(vault_) != vault) {
            found |= kRootFile;
            RestoreVault(vaultTarget);
            vault = Snapshot(vault_);
        }
        const auto holdsSecret = [&](const fs::path &path) {
            return ReadRegular(path).find(secret_) != std::string::npos;
        };
        struct stat st {};
        struct stat canary {};
        stat(canary_.c_str(), &canary);
        std::vector<fs::path> holders;
        std::error_code ec;
        for (fs::recursive_directory_iterator it(layout_, ec), end; !ec && it != end; it.increment(ec)) {
            if (lstat(it->path().c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_ino != canary.st_ino &&
                holdsSecret(it->path())) {
                holders.push_back(it->path());
            }
        }
        for (const fs::path &path : holders) {
            if (WaitChild(ForkAsUser(*user_, [&] { return holdsSecret(path) ? 0 : 1; })) == 0) {
                found |= kSecret;
                fs::remove(path, ec);
            }
        }
        if (!LeavesName(kind)) {
            return found;
        }
        const bool file = lstat(target_.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_nlink == 1;
        t.checked += file && st.st_ino != before.st_ino;
        const mode_t mode = st.st_mode & 07777;
        const bool modeKept =
            kind == Kind::kModes ? std::ranges::find(kUserModes, mode) != std::end(kUserModes) : mode == l.targetMode;
        const uid_t owner = l.userTarget ? *user_ : 0;
        if (!file || !modeKept || st.st_uid != owner || st.st_gid != owner) {
            found |= kTarget;
            fs::remove_all(target_, ec);
            MakeFile(target_, l.userTarget, l.targetMode, Secret(l));
        }
        return found;
    }

    struct Unmap {
        void operator()(Board *board) const { munmap(board, sizeof *board); }
    };
    const std::unique_ptr<Board, Unmap> board_{[] {
        void *memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return memory != MAP_FAILED ? static_cast<Board *>(memory) : throw std::bad_alloc();
    }()};
    std::optional<unsigned> user_; // its uid and gid
    std::optional<Sysctl> symlinks_, hardlinks_;
    std::string secret_;
    const fs::path vault_ = Path("vault");      // root's, 0711: what the user's links point into
    const fs::path canary_ = vault_ / "canary"; // root's 0600 file of secret bytes
    const fs::path layout_ = Path("layout");
    fs::path targetDir_; // the layout, or its subdirectory
    fs::path target_;
};

TEST_F(UnprivilegedRacer, LinksPlantedOrSwappedInNeverTurnARootWriterOnRootsFiles)
{
    Run({Kind::kPlantedLink, Kind::kLinkSwap, Kind::kParentLink, Kind::kParentSwap, Kind::kHardLink});
}

TEST_F(UnprivilegedRacer, SwappedTemporaryNameNeverTurnsARootWriterOnRootsFiles) { Run({Kind::kTempSwap}); }

TEST_F(UnprivilegedRacer, FifoOrDeviceInTheTargetsPlaceNeverBlocksARootWriter) { Run({Kind::kNodeSwap}); }

TEST_F(UnprivilegedRacer, ModeChangedDuringAWriteIsKeptOldOrNew) { Run({Kind::kModes}); }

TEST_F(UnprivilegedRacer, ReadersFlockNeverStallsARootWriter) { Run({Kind::kReaderLock}); }

} // namespace
