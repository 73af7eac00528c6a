// An unprivileged user racing root's writers. In directories laid out as on
// a real system (a sticky world-writable directory, the user's own
// directory, root's directory) the user plants or swaps in symbolic and
// hard links as the target, as its directory or as its temporary name, puts
// FIFOs and devices in the target's place, changes its mode during a write,
// or holds a reader's flock on it. Whatever the user does, a root writer
// must not change or create root's files elsewhere, must not leave root's
// secret bytes where the user can read them, must give a rewritten file the
// target's old or new owner and mode, and must not block. A writer may
// refuse: a refusal is not an escape.
//
// The user is an id that no account has, taken on in forked children with
// setresuid; the test needs root and skips without it.
#include "file_support.hpp"
#include "internal.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <grp.h>
#include <map>
#include <new>
#include <optional>
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
constexpr long kCallBoundMs = 6000;
// Under a reader's flock: a writer that waits for it reaches the lock
// time-out; one that locks nothing a reader can lock never comes near it.
constexpr long kLockBoundMs = VELKC_FILE_LOCK_TIMEOUT_MS / 2;
// The modes the user gives the target in turn; the temporary file's 0600 is
// not among them.
constexpr mode_t kUserModes[] = {0644, 0777, 0640};

// Exit codes of the user's children.
constexpr int kNoUser = 2;  // the switch to the user failed
constexpr int kNoSetup = 3; // the attack could not be set up
constexpr int kThrew = 4;   // the child's body threw

long MillisSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

void Nap() { std::this_thread::sleep_for(20us); }

[[noreturn]] void Fail(const std::string &what) { throw std::system_error(errno, std::generic_category(), what); }

// --- the unprivileged user -------------------------------------------------

struct User {
    uid_t uid;
    gid_t gid;
};

// An id that no user and no group has: a user nobody can log in as.
std::optional<User> SpareUser()
{
    for (unsigned id = 60001; id < 65534; ++id) {
        if (getpwuid(id) == nullptr && getgrgid(id) == nullptr) {
            return User{id, id};
        }
    }
    return std::nullopt;
}

// In a child: drops root for good, becomes user, and dies with its parent.
bool BecomeUser(const User &user, pid_t parent)
{
    if (setgroups(0, nullptr) != 0 || setresgid(user.gid, user.gid, user.gid) != 0 ||
        setresuid(user.uid, user.uid, user.uid) != 0) {
        return false;
    }
    // The change of credentials cleared any parent-death signal.
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

// Runs body as user in a child; an exception ends the child rather than
// going back into the test framework.
pid_t ForkAsUser(const User &user, const std::function<int()> &body)
{
    const pid_t parent = getpid();
    const pid_t pid = ForkChild([&] {
        try {
            return BecomeUser(user, parent) ? body() : kNoUser;
        } catch (...) {
            return kThrew;
        }
    });
    if (pid < 0) {
        Fail("fork");
    }
    return pid;
}

// A file-system protection sysctl, put back when the object goes away.
class Sysctl : NoCopy {
public:
    explicit Sysctl(const char *name) : path_(fs::path("/proc/sys/fs") / name), saved_(Read()) {}
    ~Sysctl() { Write(saved_); }

    bool Set(int value) { return Write(std::to_string(value)) && Read() == std::to_string(value); }
    const std::string &saved() const { return saved_; }

private:
    std::string Read() const
    {
        std::string value = ReadFile(path_);
        return value.substr(0, value.find('\n'));
    }
    bool Write(const std::string &value) const
    {
        const velkc::UniqueFd fd(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
        return fd && !value.empty() && write(fd.get(), value.data(), value.size()) == ssize_t(value.size());
    }

    fs::path path_;
    std::string saved_;
};

// --- what root and the user's racer share ----------------------------------

constexpr int kCounts = 4;

struct Board {
    std::atomic<bool> ready{false}; // the racer has set up its attack
    std::atomic<bool> stop{false};
    std::atomic<long> asked{0};  // plants root asked for
    std::atomic<long> served{0}; // plants the racer answered
    std::atomic<long> failed{0}; // plants the racer could not make
    // The inode whose mode the racer changes; none when 0.
    std::atomic<ino_t> modeTarget{0};
    // What the racer did, counted as the attack names it.
    std::atomic<long> count[kCounts]{};
};

// A Board in memory that forked children share.
class SharedBoard : NoCopy {
public:
    SharedBoard()
    {
        void *memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            Fail("mmap");
        }
        board_ = new (memory) Board;
    }
    ~SharedBoard()
    {
        board_->~Board();
        munmap(board_, sizeof(Board));
    }
    Board &operator*() const { return *board_; }
    Board *operator->() const { return board_; }

private:
    Board *board_;
};

// The user's side of a race: body run as the user in a child, stopped
// through the board and reaped when the object goes away.
class Racer : NoCopy {
public:
    Racer(const User &user, Board &board, const std::function<int()> &body)
        : board_(board), pid_(ForkAsUser(user, body))
    {}
    ~Racer() { Stop(); }

    // Waits until done() holds; false when the racer ended first or after 5 s.
    bool Await(const std::function<bool()> &done)
    {
        const Clock::time_point deadline = Clock::now() + 5s;
        while (!done()) {
            if (Ended() || Clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(20us);
        }
        return true;
    }

    // Stops the racer: its exit code, -1 when it did not exit by itself.
    int Stop()
    {
        board_.stop = true;
        const Clock::time_point deadline = Clock::now() + 5s;
        while (!Ended()) {
            if (Clock::now() > deadline) {
                kill(pid_, SIGKILL);
                status_ = WaitChild(pid_);
                pid_ = -1;
                break;
            }
            std::this_thread::sleep_for(100us);
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

    Board &board_;
    pid_t pid_;
    int status_ = -1;
};

// --- the attacks, run as the user ------------------------------------------

// Where a race takes place.
struct Scene {
    fs::path layout; // the layout's directory, emptied before every round
    fs::path dir;    // the target's directory: layout, or its subdirectory
    fs::path target;
    fs::path vault;  // root's, 0711: what the user's links point into
    fs::path canary; // root's 0600 file of secret bytes in the vault

    // A name of the user's beside the target's directory.
    fs::path Aux(const std::string &name) const { return layout / ("_" + name); }
};

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

bool Exchange(const fs::path &a, const fs::path &b)
{
    return renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

bool IsLink(const fs::path &path)
{
    struct stat st;
    return lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

// Puts the attack's link where the target or its directory was.
bool Plant(Kind kind, const Scene &s)
{
    const fs::path aside = s.Aux("aside");
    switch (kind) {
    case Kind::kPlantedLink:
        return rename(s.target.c_str(), aside.c_str()) == 0 && symlink(s.canary.c_str(), s.target.c_str()) == 0;
    case Kind::kParentLink:
        return rename(s.dir.c_str(), aside.c_str()) == 0 && symlink(s.vault.c_str(), s.dir.c_str()) == 0;
    case Kind::kHardLink:
        return rename(s.target.c_str(), aside.c_str()) == 0 && link(s.canary.c_str(), s.target.c_str()) == 0;
    default:
        return false;
    }
}

// Plants whenever root asks, root having put the scene back in between.
int PlantOnRequest(Kind kind, const Scene &s, Board &b)
{
    b.ready = true;
    while (!b.stop) {
        const long asked = b.asked;
        if (asked == b.served) {
            Nap();
            continue;
        }
        ++(Plant(kind, s) ? b.count[0] : b.failed);
        b.served = asked;
    }
    return 0;
}

// Swaps a link to the canary in and out as the target; makes it again when
// a writer renamed a file over it. Counts: swaps, links made again.
int SwapLink(const Scene &s, Board &b)
{
    const fs::path link = s.Aux("link");
    if (symlink(s.canary.c_str(), link.c_str()) != 0) {
        return kNoSetup;
    }
    b.ready = true;
    while (!b.stop) {
        if (!IsLink(link) && !IsLink(s.target) && rename(link.c_str(), s.Aux("spare").c_str()) == 0 &&
            symlink(s.canary.c_str(), link.c_str()) == 0) {
            ++b.count[1];
        }
        if (Exchange(s.target, link)) {
            ++b.count[0];
        }
    }
    return 0;
}

// Swaps the target's directory and a link to the vault. Counts: swaps.
int SwapParent(const Scene &s, Board &b)
{
    const fs::path link = s.Aux("dirlink");
    if (symlink(s.vault.c_str(), link.c_str()) != 0) {
        return kNoSetup;
    }
    b.ready = true;
    while (!b.stop) {
        if (Exchange(s.dir, link)) {
            ++b.count[0];
        }
    }
    return 0;
}

// "<target>.XXXXXX", the name a writer's temporary file is given.
bool IsTempName(std::string_view name)
{
    const std::string_view stem = kName;
    return name.size() == stem.size() + 7 && name.starts_with(stem) && name[stem.size()] == '.';
}

// Watches the target's directory and, for every temporary name that
// appears, swaps it for a link to the canary, for a hard link of it, or
// renames it away (the name decides which). The name exists for a moment
// only, from the writer's link to its rename: a watcher sleeps on each CPU,
// bound to it, and the one on the writer's CPU, woken by the writer's link,
// often runs before the writer gets to its rename. Counts: names seen,
// swapped for a link, for a hard link, renamed away.
int SwapTempNames(const Scene &s, Board &b)
{
    cpu_set_t cpus;
    if (sched_getaffinity(0, sizeof cpus, &cpus) != 0) {
        return kNoSetup;
    }
    std::atomic<int> armed{0};
    std::atomic<bool> failed{false};
    std::atomic<std::size_t> lastSeen{0};
    std::atomic<std::size_t> lastSwapped{0};
    // Every watcher sees every name: each is counted once.
    const auto first = [](std::atomic<std::size_t> &last, std::size_t name) { return last.exchange(name) != name; };
    const auto watch = [&](int cpu, const velkc::UniqueFd &inotify) {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(cpu, &one);
        const std::string mine = std::to_string(cpu);
        const fs::path byLink = s.Aux("symbait" + mine);
        const fs::path byHardLink = s.Aux("hardbait" + mine);
        if (sched_setaffinity(0, sizeof one, &one) != 0 || symlink(s.canary.c_str(), byLink.c_str()) != 0 ||
            link(s.canary.c_str(), byHardLink.c_str()) != 0) {
            failed = true;
            return;
        }
        ++armed;
        long taken = 0;
        alignas(inotify_event) char events[4096];
        pollfd ready{inotify.get(), POLLIN, 0};
        while (!b.stop && !failed) {
            const ssize_t n = poll(&ready, 1, 10) == 1 ? read(inotify.get(), events, sizeof events) : 0;
            for (ssize_t at = 0; at < n;) {
                const auto *event = reinterpret_cast<const inotify_event *>(events + at);
                at += ssize_t(sizeof(inotify_event) + event->len);
                if (event->len == 0 || !IsTempName(event->name)) {
                    continue;
                }
                const std::size_t name = std::hash<std::string_view>{}(event->name);
                b.count[0] += first(lastSeen, name);
                const fs::path temp = s.dir / event->name;
                const fs::path away = s.Aux("taken" + mine + "-" + std::to_string(taken));
                // Only a name that still exists is exchanged or renamed: a hit is a real swap.
                const int kind = int(name % 3);
                const fs::path &bait = kind == 0 ? byLink : byHardLink;
                const bool hit = kind < 2
                                     ? Exchange(temp, bait)
                                     : renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, away.c_str(), RENAME_NOREPLACE) == 0;
                if (!hit) {
                    continue;
                }
                b.count[1 + kind] += first(lastSwapped, name);
                ++taken;
                // The bait's name now holds the writer's file: keep it, and bait again.
                if (kind < 2 && rename(bait.c_str(), away.c_str()) == 0) {
                    const bool again = kind == 0 ? symlink(s.canary.c_str(), bait.c_str()) == 0
                                                 : link(s.canary.c_str(), bait.c_str()) == 0;
                    failed = failed || !again;
                }
            }
        }
    };
    std::vector<velkc::UniqueFd> watches;
    watches.reserve(std::size_t(CPU_COUNT(&cpus))); // the watchers hold references
    std::vector<std::jthread> watchers;
    for (int cpu = 0; cpu < CPU_SETSIZE && !failed; ++cpu) {
        if (!CPU_ISSET(cpu, &cpus)) {
            continue;
        }
        watches.emplace_back(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        if (!watches.back() || inotify_add_watch(watches.back().get(), s.dir.c_str(), IN_CREATE | IN_MOVED_TO) < 0) {
            failed = true;
            break;
        }
        watchers.emplace_back(watch, cpu, std::cref(watches.back()));
    }
    while (armed < int(watchers.size()) && !failed) {
        Nap();
    }
    b.ready = !failed;
    watchers.clear(); // they watch until root stops the race
    return failed ? kNoSetup : 0;
}

// Renames a link of a FIFO, a link of the device root left the user, and
// a fresh plain file over the target, in turn. Every FIFO put in place is
// the one FIFO, so that it can be found to free a writer caught in it.
// Counts: each of the three put in place.
int SwapNodes(const Scene &s, Board &b)
{
    const fs::path fresh = s.Aux("new");
    const fs::path fifo = s.Aux("fifo");
    const fs::path device = s.Aux("dev");
    if (mkfifo(fifo.c_str(), 0666) != 0) {
        return kNoSetup;
    }
    b.ready = true;
    for (long turn = 0; !b.stop; ++turn) {
        unlink(fresh.c_str());
        const int kind = int(turn % 3);
        bool made = false;
        if (kind < 2) {
            made = link((kind == 0 ? fifo : device).c_str(), fresh.c_str()) == 0;
        } else {
            const velkc::UniqueFd fd(open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
            made = fd && write(fd.get(), kBase.data(), kBase.size()) == ssize_t(kBase.size());
        }
        if (made && rename(fresh.c_str(), s.target.c_str()) == 0) {
            ++b.count[kind];
        }
    }
    return 0;
}

// Changes the mode of the inode root names in the board, in turn to each of
// kUserModes, for as long as it is named; never a file that replaced it, so
// that the mode a writer gave its new file stays to be checked. Counts:
// mode changes.
int ChangeModes(const Scene &s, Board &b)
{
    b.ready = true;
    for (long turn = 0; !b.stop;) {
        const ino_t wanted = b.modeTarget;
        const velkc::UniqueFd fd(wanted != 0 ? open(s.target.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC) : -1);
        struct stat st;
        if (!fd || fstat(fd.get(), &st) != 0 || st.st_ino != wanted) {
            Nap();
            continue;
        }
        // Through the descriptor: the inode checked is the one changed.
        const std::string self = "/proc/self/fd/" + std::to_string(fd.get());
        if (chmod(self.c_str(), kUserModes[turn++ % std::size(kUserModes)]) == 0) {
            ++b.count[0];
        }
    }
    return 0;
}

// Holds a shared flock on the target, and on every file that replaces it,
// as any reader may. Counts: flocks taken.
int HoldReaderLock(const Scene &s, Board &b)
{
    velkc::UniqueFd held;
    ino_t heldInode = 0;
    while (!b.stop) {
        velkc::UniqueFd fd(open(s.target.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat st;
        if (fd && fstat(fd.get(), &st) == 0 && S_ISREG(st.st_mode) && (!held || st.st_ino != heldInode) &&
            flock(fd.get(), LOCK_SH | LOCK_NB) == 0) {
            held = std::move(fd);
            heldInode = st.st_ino;
            ++b.count[0];
            b.ready = true;
        }
        std::this_thread::sleep_for(100us);
    }
    return 0;
}

int Race(Kind kind, const Scene &s, Board &b)
{
    switch (kind) {
    case Kind::kPlantedLink:
    case Kind::kParentLink:
    case Kind::kHardLink:
        return PlantOnRequest(kind, s, b);
    case Kind::kLinkSwap:
        return SwapLink(s, b);
    case Kind::kParentSwap:
        return SwapParent(s, b);
    case Kind::kTempSwap:
        return SwapTempNames(s, b);
    case Kind::kNodeSwap:
        return SwapNodes(s, b);
    case Kind::kModes:
        return ChangeModes(s, b);
    case Kind::kReaderLock:
        return HoldReaderLock(s, b);
    }
    return kNoSetup;
}

// --- layouts, attacks and what came of them --------------------------------

struct Layout {
    const char *name;
    bool userDir; // else root's
    mode_t dirMode;
    bool userTarget; // else root's
    mode_t targetMode;
};

constexpr Layout kLayouts[] = {
    {"sticky dir", false, 01777, true, 0644},
    {"user dir", true, 0755, true, 0644},
    {"root dir", false, 0755, true, 0644},
    {"user dir, root file", true, 0755, false, 0600},
    {"root dir, root file", false, 0755, false, 0644},
};

struct Attack {
    const char *name;
    Kind kind;
    int rounds;
    int protectedHardlinks;           // fs.protected_hardlinks while it runs
    std::vector<const char *> counts; // what the racer counts, in order
};

// Why the user cannot mount the attack in the layout; null when the user can.
const char *Unmountable(const Layout &l, Kind kind)
{
    const bool sticky = (l.dirMode & S_ISVTX) && (l.dirMode & S_IWOTH);
    switch (kind) {
    case Kind::kModes:
        return l.userTarget ? nullptr : "the target is not the user's";
    case Kind::kReaderLock:
        return l.userTarget || (l.targetMode & S_IROTH) ? nullptr : "the user cannot open the target";
    case Kind::kParentLink:
    case Kind::kParentSwap:
        // The target's directory is the user's own subdirectory.
        return l.userDir || sticky ? nullptr : "the user cannot rename names in the directory";
    default:
        return l.userDir || (sticky && l.userTarget) ? nullptr : "the user cannot rename the target";
    }
}

// What went wrong after a call, as bits.
constexpr unsigned kRootFile = 1;
constexpr unsigned kSecret = 2;
constexpr unsigned kOverTime = 4;
constexpr unsigned kAttributes = 8;
constexpr const char *kReasonNames[] = {"root files changed or made", "secret readable by the user",
                                        "call over its time bound", "owner or mode neither old nor new"};

struct Outcome {
    int result = 0;
    unsigned error = 0;
    long ms = 0;
    bool freed = false; // still running at its bound, and freed from the user's trap
};

struct Tally {
    int rounds = 0;
    long calls = 0;
    long succeeded = 0;
    long escapes = 0;
    long checked = 0; // rewritten files whose owner and mode were checked
    long failedPlants = 0;
    bool blocked = false; // a call had to be freed: the rest were not made
    long reasons[std::size(kReasonNames)] = {};
    long counts[kCounts] = {};
    std::map<unsigned, long> errors; // codes of the failed calls
    std::set<std::string> escaped;   // writers

    void Add(unsigned found)
    {
        escapes += found != 0;
        for (std::size_t i = 0; i < std::size(reasons); ++i) {
            reasons[i] += (found >> i) & 1;
        }
    }
    void Call(const Writer &writer, const Outcome &o, unsigned found)
    {
        blocked = blocked || o.freed;
        ++calls;
        o.result != -1 ? ++succeeded : ++errors[o.error];
        Add(found);
        if (found != 0) {
            escaped.insert(writer.name);
        }
    }
    void Collect(const Board &b)
    {
        for (int i = 0; i < kCounts; ++i) {
            counts[i] += b.count[i];
        }
        failedPlants += b.failed;
    }
};

// Calls the writers on target at once, each in a thread of its own. Calls
// still running after boundMs are caught in a trap of the user's: rescue is
// called then, and again every 100 ms until they return, so that the test
// reports them rather than hangs.
std::vector<Outcome> CallAtOnce(const std::vector<const Writer *> &writers, const fs::path &target, long boundMs,
                                const std::function<void()> &rescue)
{
    std::vector<Outcome> outcomes(writers.size());
    std::vector<std::atomic<bool>> returned(writers.size());
    std::atomic<std::size_t> running{writers.size()};
    std::promise<void> last;
    const std::future<void> allReturned = last.get_future();
    std::vector<std::jthread> calls;
    for (std::size_t i = 0; i < writers.size(); ++i) {
        calls.emplace_back([&, i] {
            Args args;
            ResetError();
            const Clock::time_point start = Clock::now();
            outcomes[i].result = writers[i]->call(target.c_str(), args);
            outcomes[i].error = VELKCErrGet();
            outcomes[i].ms = MillisSince(start);
            returned[i] = true;
            if (--running == 0) {
                last.set_value();
            }
        });
    }
    std::vector<bool> freed(writers.size());
    if (allReturned.wait_for(std::chrono::milliseconds(boundMs)) != std::future_status::ready) {
        for (std::size_t i = 0; i < writers.size(); ++i) {
            freed[i] = !returned[i];
        }
        do {
            rescue();
        } while (allReturned.wait_for(100ms) != std::future_status::ready);
    }
    calls.clear();
    for (std::size_t i = 0; i < writers.size(); ++i) {
        outcomes[i].freed = freed[i];
    }
    return outcomes;
}

Outcome CallWriter(const Writer &writer, const fs::path &target, const std::function<void()> &rescue)
{
    return CallAtOnce({&writer}, target, kCallBoundMs, rescue).front();
}

// Opens every FIFO under dir at both ends for a moment: an open or a read
// blocked on one returns.
void ReleaseFifos(const fs::path &dir)
{
    std::vector<velkc::UniqueFd> ends;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->symlink_status(ec).type() == fs::file_type::fifo) {
            ends.emplace_back(open(it->path().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        }
    }
    std::this_thread::sleep_for(20ms);
}

void Print(const Layout &l, const Attack &a, const Tally &t)
{
    std::string did;
    for (std::size_t i = 0; i < a.counts.size(); ++i) {
        did += std::string(i == 0 ? "" : ", ") + a.counts[i] + " " + std::to_string(t.counts[i]);
    }
    if (a.kind == Kind::kModes) {
        did += ", new files checked " + std::to_string(t.checked);
    }
    if (t.failedPlants != 0) {
        did += ", plants failed " + std::to_string(t.failedPlants);
    }
    if (t.blocked) {
        did += "; ended at a call that blocked";
    }
    std::printf("%-19s / %-16s: %3d rounds, %4ld calls, %4ld escapes; %4ld calls succeeded; user: %s\n", l.name, a.name,
                t.rounds, t.calls, t.escapes, t.succeeded, did.c_str());
    if (!t.errors.empty()) {
        std::string failures;
        for (const auto &[code, n] : t.errors) {
            char item[32];
            std::snprintf(item, sizeof item, " 0x%04X x%ld", code, n);
            failures += item;
        }
        std::printf("%42s failed calls:%s\n", "", failures.c_str());
    }
    if (t.escapes != 0) {
        std::string what;
        for (std::size_t i = 0; i < std::size(t.reasons); ++i) {
            if (t.reasons[i] != 0) {
                what += std::string(what.empty() ? "" : ", ") + kReasonNames[i] + " " + std::to_string(t.reasons[i]);
            }
        }
        std::string writers;
        for (const std::string &name : t.escaped) {
            writers += " " + name;
        }
        std::printf("%42s escapes: %s; by%s\n", "", what.c_str(), writers.c_str());
    }
    std::fflush(stdout);
}

// --- root's side -----------------------------------------------------------

void MakeDir(const fs::path &path, uid_t uid, gid_t gid, mode_t mode)
{
    if (mkdir(path.c_str(), 0700) != 0 || chown(path.c_str(), uid, gid) != 0 || chmod(path.c_str(), mode) != 0) {
        Fail("making " + path.string());
    }
}

void MakeFile(const fs::path &path, const std::string &text, uid_t uid, gid_t gid, mode_t mode)
{
    WriteFile(path, text);
    if (chown(path.c_str(), uid, gid) != 0 || chmod(path.c_str(), mode) != 0) {
        Fail("making " + path.string());
    }
}

void Empty(const fs::path &dir)
{
    for (const std::string &name : ListDir(dir)) {
        fs::remove_all(dir / name);
    }
}

// A directory entry as far as a change of it matters.
struct Entry {
    std::string name;
    mode_t mode;
    uid_t uid;
    gid_t gid;
    ino_t inode;
    std::string content;
    bool operator==(const Entry &) const = default;
};

std::vector<Entry> Snapshot(const fs::path &dir)
{
    std::vector<Entry> entries;
    for (const std::string &name : ListDir(dir)) {
        struct stat st;
        if (lstat((dir / name).c_str(), &st) != 0) {
            Fail("lstat");
        }
        entries.push_back({name, st.st_mode, st.st_uid, st.st_gid, st.st_ino,
                           S_ISREG(st.st_mode) ? ReadFile(dir / name) : std::string()});
    }
    return entries;
}

// The files under dir that user can read and that hold secret, found by a
// child that walks dir as the user.
std::vector<fs::path> ReadableSecrets(const User &user, const fs::path &dir, const std::string &secret)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        Fail("pipe");
    }
    velkc::UniqueFd in(ends[0]);
    velkc::UniqueFd out(ends[1]);
    const pid_t pid = ForkAsUser(user, [&] {
        in.reset();
        std::error_code ec;
        for (fs::recursive_directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec), end;
             !ec && it != end; it.increment(ec)) {
            struct stat st;
            if (lstat(it->path().c_str(), &st) != 0 || !(S_ISREG(st.st_mode) || S_ISLNK(st.st_mode))) {
                continue;
            }
            const velkc::UniqueFd fd(open(it->path().c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
            if (!fd || fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
                continue;
            }
            std::string text;
            char buf[4096];
            for (ssize_t n; (n = read(fd.get(), buf, sizeof buf)) > 0 && text.size() < (1u << 20);) {
                text.append(buf, std::size_t(n));
            }
            if (text.find(secret) != std::string::npos) {
                const std::string line = it->path().string() + "\n";
                if (write(out.get(), line.data(), line.size()) != ssize_t(line.size())) {
                    return 1;
                }
            }
        }
        return 0;
    });
    out.reset();
    std::string lines;
    char buf[4096];
    for (ssize_t n; (n = read(in.get(), buf, sizeof buf)) > 0;) {
        lines.append(buf, std::size_t(n));
    }
    const int status = WaitChild(pid);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the walk as the user failed");
    }
    std::vector<fs::path> found;
    std::istringstream list(lines);
    for (std::string line; std::getline(list, line);) {
        found.emplace_back(line);
    }
    return found;
}

class UnprivilegedRacer : public ScratchTest {
protected:
    void SetUp() override
    {
        if (!IsRoot()) {
            std::printf("skipped: needs root, to write as root and to act as an unprivileged user\n");
            GTEST_SKIP() << "needs root";
        }
        user_ = SpareUser();
        if (!user_) {
            std::printf("skipped: no id above 60000 is free for an unprivileged user\n");
            GTEST_SKIP() << "no spare user id";
        }
        symlinks_.emplace("protected_symlinks");
        hardlinks_.emplace("protected_hardlinks");
        // The kernel's own link protections off: the writers must not need them.
        if (!symlinks_->Set(0) || !hardlinks_->Set(1)) {
            std::printf("skipped: cannot set fs.protected_symlinks and fs.protected_hardlinks here\n");
            GTEST_SKIP() << "cannot set the link protection sysctls";
        }
        fs::permissions(dir_, fs::perms(0755)); // the user walks into the layouts
        std::random_device random;
        char secret[40];
        std::snprintf(secret, sizeof secret, "root-secret-%08x%08x", random(), random());
        secret_ = secret;
        MakeDir(vault_, 0, 0, 0711); // not listable, but a user can hard link what is in it
        RestoreVault(false);
        std::printf("unprivileged user %u:%u; fs.protected_symlinks 0; fs.protected_hardlinks 1, 0 for the "
                    "hard link and temp-name attacks (they were %s and %s and are restored)\n",
                    user_->uid, user_->gid, symlinks_->saved().c_str(), hardlinks_->saved().c_str());
    }

    // Runs every attack in every layout where the user can mount it, prints
    // a line for each and expects no escape.
    void Run(const std::vector<Attack> &attacks)
    {
        // A writer freed from a FIFO may write to it after its reader is gone.
        const Guard noBrokenPipe = SetSignal(SIGPIPE, SIG_IGN);
        for (const Attack &a : attacks) {
            ASSERT_TRUE(hardlinks_->Set(a.protectedHardlinks));
            for (const Layout &l : kLayouts) {
                if (const char *why = Unmountable(l, a.kind)) {
                    std::printf("%-19s / %-16s: not mountable: %s\n", l.name, a.name, why);
                    continue;
                }
                SCOPED_TRACE(std::string(l.name) + " / " + a.name);
                const Tally t = RunIn(l, a);
                Print(l, a, t);
                EXPECT_EQ(t.escapes, 0);
                ExpectMounted(a, t);
            }
        }
    }

private:
    // The attack did what it claims, so that no escape means something.
    void ExpectMounted(const Attack &a, const Tally &t)
    {
        EXPECT_GT(t.counts[0], 0) << a.counts[0];
        switch (a.kind) {
        case Kind::kPlantedLink:
        case Kind::kParentLink:
        case Kind::kHardLink:
            EXPECT_EQ(t.failedPlants, 0);
            EXPECT_EQ(t.counts[0], t.calls);
            break;
        case Kind::kNodeSwap:
            EXPECT_GT(t.counts[1], 0) << a.counts[1];
            EXPECT_GT(t.counts[2], 0) << a.counts[2];
            break;
        case Kind::kModes:
            EXPECT_GT(t.checked, 0) << "no rewritten file was checked";
            break;
        default:
            break;
        }
    }

    Tally RunIn(const Layout &l, const Attack &a)
    {
        MakeDir(layout_, l.userDir ? user_->uid : 0, l.userDir ? user_->gid : 0, l.dirMode);
        const Guard removeLayout([this] {
            std::error_code ignored;
            fs::remove_all(layout_, ignored);
        });
        const bool parent = a.kind == Kind::kParentLink || a.kind == Kind::kParentSwap;
        Scene s{layout_, parent ? layout_ / "sub" : layout_, {}, vault_, vault_ / "canary"};
        s.target = s.dir / kName;
        switch (a.kind) {
        case Kind::kPlantedLink:
        case Kind::kParentLink:
        case Kind::kHardLink:
            return RunPlanted(l, a, s);
        case Kind::kReaderLock:
            return RunLocked(l, a, s);
        default:
            return RunRaced(l, a, s);
        }
    }

    // Every writer in turn, each on a scene put back and planted afresh.
    Tally RunPlanted(const Layout &l, const Attack &a, const Scene &s)
    {
        Tally t;
        SharedBoard board;
        Racer racer(*user_, *board, [&] { return Race(a.kind, s, *board); });
        if (!racer.Await([&] { return board->ready.load(); })) {
            ADD_FAILURE() << "the racer did not start: exit " << racer.Stop();
            return t;
        }
        for (; t.rounds < a.rounds; ++t.rounds) {
            for (std::size_t w = 0; w < AllWriters().size(); ++w) {
                // The vault holds a file of the target's name every other call.
                const bool vaultTarget = (t.rounds + w) % 2 == 0;
                Reset(l, s, a.kind);
                RestoreVault(vaultTarget);
                std::vector<Entry> vault = Snapshot(vault_);
                const long asked = ++board->asked;
                if (!racer.Await([&] { return board->served == asked; })) {
                    ADD_FAILURE() << "the racer did not plant: exit " << racer.Stop();
                    return t;
                }
                const Writer &writer = AllWriters()[w];
                const Outcome o = CallWriter(writer, s.target, [&] { Rescue(racer, s); });
                const unsigned found = (o.freed ? kOverTime : 0) | Check(vault, vaultTarget);
                t.Call(writer, o, found);
                if (t.blocked) {
                    break;
                }
            }
            if (t.blocked) {
                ++t.rounds;
                break;
            }
        }
        EXPECT_EQ(racer.Stop(), 0) << "the racer's exit";
        t.Collect(*board);
        return t;
    }

    // Every writer in turn while the user races them; the scene is put back
    // before each round only, so that what one writer left the user can use
    // on the next.
    Tally RunRaced(const Layout &l, const Attack &a, const Scene &s)
    {
        Tally t;
        for (; t.rounds < a.rounds; ++t.rounds) {
            const bool vaultTarget = t.rounds % 2 == 0;
            Reset(l, s, a.kind);
            RestoreVault(vaultTarget);
            std::vector<Entry> vault = Snapshot(vault_);
            SharedBoard board;
            Racer racer(*user_, *board, [&] { return Race(a.kind, s, *board); });
            if (!racer.Await([&] { return board->ready.load(); })) {
                ADD_FAILURE() << "the racer did not start: exit " << racer.Stop();
                return t;
            }
            for (const Writer &writer : AllWriters()) {
                struct stat before {};
                if (a.kind == Kind::kModes) {
                    lstat(s.target.c_str(), &before);
                    board->modeTarget = before.st_ino;
                }
                const Outcome o = CallWriter(writer, s.target, [&] { Rescue(racer, s); });
                unsigned found = o.freed ? kOverTime : 0;
                if (a.kind == Kind::kModes) {
                    board->modeTarget = 0;
                    found |= CheckAttributes(s, before, t);
                }
                t.Call(writer, o, found | Check(vault, vaultTarget));
                if (t.blocked) {
                    break;
                }
            }
            EXPECT_EQ(racer.Stop(), 0) << "the racer's exit";
            t.Collect(*board);
            if (t.blocked) {
                ++t.rounds;
                break;
            }
        }
        return t;
    }

    // Every writer at once while the user holds a reader's flock: the lock
    // time-out is paid once if at all.
    Tally RunLocked(const Layout &l, const Attack &a, const Scene &s)
    {
        Tally t;
        std::vector<const Writer *> writers;
        for (const Writer &writer : AllWriters()) {
            writers.push_back(&writer);
        }
        for (; t.rounds < a.rounds; ++t.rounds) {
            Reset(l, s, a.kind);
            RestoreVault(false);
            std::vector<Entry> vault = Snapshot(vault_);
            SharedBoard board;
            Racer racer(*user_, *board, [&] { return Race(a.kind, s, *board); });
            if (!racer.Await([&] { return board->ready.load(); })) {
                ADD_FAILURE() << "the racer took no lock: exit " << racer.Stop();
                return t;
            }
            const std::vector<Outcome> outcomes =
                CallAtOnce(writers, s.target, kCallBoundMs, [&] { Rescue(racer, s); });
            EXPECT_EQ(racer.Stop(), 0) << "the racer's exit";
            for (std::size_t i = 0; i < writers.size(); ++i) {
                const bool late = outcomes[i].freed || outcomes[i].ms > kLockBoundMs;
                t.Call(*writers[i], outcomes[i], late ? kOverTime : 0);
            }
            t.Add(Check(vault, false));
            t.Collect(*board);
        }
        return t;
    }

    // Frees a writer caught in the user's trap: the racer stops, which
    // drops its locks, and FIFOs are opened at both ends.
    static void Rescue(Racer &racer, const Scene &s)
    {
        racer.Stop();
        ReleaseFifos(s.layout);
    }

    // The scene at the start of a round: the layout's target alone, in the
    // user's subdirectory for the attacks on it, and for the node swaps a
    // device that root made and left to the user.
    void Reset(const Layout &l, const Scene &s, Kind kind)
    {
        Empty(s.layout);
        if (s.dir != s.layout) {
            MakeDir(s.dir, user_->uid, user_->gid, 0755);
        }
        const bool readable = l.userTarget || (l.targetMode & S_IROTH);
        MakeFile(s.target, readable ? kBase : SecretText(), l.userTarget ? user_->uid : 0,
                 l.userTarget ? user_->gid : 0, l.targetMode);
        if (kind == Kind::kNodeSwap) {
            const fs::path device = s.Aux("dev");
            if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0 ||
                chown(device.c_str(), user_->uid, user_->gid) != 0) {
                Fail("mknod");
            }
        }
    }

    // kBase with a line of root's secret bytes.
    std::string SecretText() const { return kBase + "secret=" + secret_ + "\n"; }

    // Root's vault: the canary, and with target a root file of the target's
    // name, for writers sent into the vault as the target's directory. The
    // canary is rewritten in place, so that links the user made of it stay
    // links of the canary.
    void RestoreVault(bool target)
    {
        const fs::path canary = vault_ / "canary";
        for (const std::string &name : ListDir(vault_)) {
            if (name != "canary") {
                fs::remove_all(vault_ / name);
            }
        }
        struct stat st;
        if (lstat(canary.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
            fs::remove(canary);
        }
        MakeFile(canary, SecretText(), 0, 0, 0600);
        if (target) {
            MakeFile(vault_ / kName, SecretText(), 0, 0, 0600);
        }
    }

    // What a call changed that it must not: root's vault (put back then,
    // and its snapshot taken again), or a file the user can read holding
    // the secret (removed then).
    unsigned Check(std::vector<Entry> &vault, bool vaultTarget)
    {
        unsigned found = 0;
        if (Snapshot(vault_) != vault) {
            found |= kRootFile;
            RestoreVault(vaultTarget);
            vault = Snapshot(vault_);
        }
        const std::vector<fs::path> leaks = ReadableSecrets(*user_, layout_, secret_);
        for (const fs::path &leak : leaks) {
            found |= kSecret;
            std::error_code ignored;
            fs::remove(leak, ignored);
        }
        return found;
    }

    // The target after a call during which the user changed the mode of the
    // file named before: still the user's, with one of the user's modes.
    // The racer never touches a file that replaced it, so a new file's
    // owner and mode are the writer's own: those count as checked.
    unsigned CheckAttributes(const Scene &s, const struct stat &before, Tally &t)
    {
        struct stat st;
        if (lstat(s.target.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
            return kAttributes;
        }
        t.checked += st.st_ino != before.st_ino;
        const mode_t mode = st.st_mode & 07777;
        const bool userMode = std::find(std::begin(kUserModes), std::end(kUserModes), mode) != std::end(kUserModes);
        return st.st_uid == user_->uid && st.st_gid == user_->gid && userMode ? 0 : kAttributes;
    }

    std::optional<User> user_;
    std::optional<Sysctl> symlinks_;
    std::optional<Sysctl> hardlinks_;
    std::string secret_;
    const fs::path vault_ = Path("vault");
    const fs::path layout_ = Path("layout");
};

constexpr int kPlantedRounds = 3; // each writer on a fresh plant: the outcome hardly varies
constexpr int kRacedRounds = 12;

TEST_F(UnprivilegedRacer, LinksPlantedOrSwappedInNeverTurnARootWriterOnRootsFiles)
{
    Run({
        {"planted symlink", Kind::kPlantedLink, kPlantedRounds, 1, {"planted"}},
        {"symlink swap", Kind::kLinkSwap, kRacedRounds, 1, {"swaps", "links made again"}},
        {"parent symlink", Kind::kParentLink, kPlantedRounds, 1, {"planted"}},
        {"parent swap", Kind::kParentSwap, kRacedRounds, 1, {"swaps"}},
        {"hard link", Kind::kHardLink, kPlantedRounds, 0, {"linked"}},
    });
}

TEST_F(UnprivilegedRacer, SwappedTemporaryNameNeverTurnsARootWriterOnRootsFiles)
{
    Run({{"temp-name swap",
          Kind::kTempSwap,
          2 * kRacedRounds,
          0,
          {"names seen", "swapped for a symlink", "for a hard link", "renamed away"}}});
}

TEST_F(UnprivilegedRacer, FifoOrDeviceInTheTargetsPlaceNeverBlocksARootWriter)
{
    Run({{"FIFO/device swap", Kind::kNodeSwap, kRacedRounds, 1, {"FIFOs", "devices", "files"}}});
}

TEST_F(UnprivilegedRacer, ModeChangedDuringAWriteIsKeptOldOrNew)
{
    Run({{"owner/mode race", Kind::kModes, kRacedRounds, 1, {"mode changes"}}});
}

TEST_F(UnprivilegedRacer, ReadersFlockNeverStallsARootWriter)
{
    Run({{"reader's flock", Kind::kReaderLock, 1, 1, {"flocks taken"}}});
}

} // namespace
