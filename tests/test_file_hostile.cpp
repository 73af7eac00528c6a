// Targets and arguments a configuration file should never meet, and what
// the readers and writers make of them: FIFOs, sockets and devices, hard
// links, names at the length limits, over-long lines, and pairs that would
// smuggle in lines of their own.
#include "file_support.hpp"
#include "internal/internal.hpp"

#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace test;

namespace {

// Ends the program, naming the call, when a call under test blocks.
class Watchdog : NoCopy {
public:
    explicit Watchdog(const char *call) : alarm_(SetSignal(SIGALRM, Bark))
    {
        call_ = call;
        alarm(5);
    }
    ~Watchdog() { alarm(0); }

private:
    static void Bark(int)
    {
        constexpr char blocked[] = "\nblocked for 5 s: ";
        (void)!write(STDERR_FILENO, blocked, sizeof(blocked) - 1);
        (void)!write(STDERR_FILENO, call_, std::strlen(call_));
        _exit(3);
    }

    Guard alarm_;
    static inline const char *volatile call_ = "";
};

// Runs every reader and writer on path (with readingOnly, only the writers
// that read it); each fails with the failure result and code, promptly.
void ExpectAllRefused(const fs::path &path, unsigned code, bool readingOnly = false)
{
    const auto expectRefused = [&](const char *name, const FileCall &call, int failure) {
        SCOPED_TRACE(name);
        const Watchdog watchdog(name);
        Args args;
        ResetError();
        EXPECT_EQ(call(path.c_str(), args), failure);
        EXPECT_EQ(VELKCErrGet(), code);
    };
    for (const Reader &reader : AllReaders()) {
        expectRefused(reader.name, reader.call, reader.failure);
    }
    for (const Writer &writer : AllWriters()) {
        if (!readingOnly || ReadsTheFile(writer)) {
            expectRefused(writer.name, writer.call, -1);
        }
    }
}

class Hostile : public ScratchTest {
protected:
    // A writer's result and the content it leaves on a plain file holding text.
    std::pair<int, std::string> PlainOutcome(const Writer &writer, const std::string &text)
    {
        const fs::path plain = Path("plain");
        WriteFile(plain, text);
        Args args;
        const int result = writer.call(plain.c_str(), args);
        std::pair<int, std::string> outcome{result, ReadFile(plain)};
        fs::remove(plain);
        return outcome;
    }
};

TEST_F(Hostile, NonRegularTargetsAreRefusedAtOnce)
{
    const fs::path node = Path("node");
    const velkc::UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_TRUE(listener);
    const auto bindSocket = [&] {
        sockaddr_un addr{};
        addr.sun_family = AF_UNIX;
        std::strncpy(addr.sun_path, node.c_str(), sizeof(addr.sun_path) - 1);
        return bind(listener.get(), reinterpret_cast<sockaddr *>(&addr), sizeof(addr)) == 0 &&
               listen(listener.get(), 1) == 0;
    };
    const std::pair<mode_t, std::function<bool()>> kinds[] = {
        {S_IFIFO, [&] { return mkfifo(node.c_str(), 0666) == 0; }},
        {S_IFSOCK, bindSocket},
        {S_IFCHR, [&] { return IsRoot() && mknod(node.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0; }},
    };
    for (const auto &[type, make] : kinds) {
        SCOPED_TRACE(type);
        if (!make()) {
            std::printf("skipped: cannot make a node of type %o here\n", type);
            continue;
        }
        ExpectAllRefused(node, ERR_OPEN_FAILED);
        struct stat st;
        ASSERT_EQ(lstat(node.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & S_IFMT, type);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"node"});
        fs::remove(node);
    }
}

TEST_F(Hostile, RewriteGivesAHardLinkedNameItsOwnFile)
{
    for (const Writer &writer : AllWriters()) {
        if (!writer.rewrites) {
            continue;
        }
        SCOPED_TRACE(writer.name);
        fs::remove(Path("alias"));
        WriteFile(Path("conf"), kBase);
        fs::create_hard_link(Path("conf"), Path("alias"));
        Args args;
        EXPECT_EQ(writer.call(Path("conf").c_str(), args), writer.result);
        EXPECT_NE(ReadFile(Path("conf")), kBase);
        EXPECT_EQ(ReadFile(Path("alias")), kBase);
        EXPECT_EQ(fs::hard_link_count(Path("conf")), 1u);
        EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"alias", "conf"}));
    }
}

// Which symbolic links a writer follows: as root, links of another user's
// are followed only to that user's own files, and never in a sticky
// world-writable directory whose owner did not make them.
TEST_F(Hostile, WritersFollowOnlyLinksNoOtherUserCouldAim)
{
    if (!IsRoot()) {
        GTEST_SKIP() << "needs root, to own files as another user";
    }
    constexpr uid_t kUser = 54321;
    const auto own = [](const fs::path &path, uid_t uid) {
        ASSERT_EQ(fchownat(AT_FDCWD, path.c_str(), uid, uid, AT_SYMLINK_NOFOLLOW), 0) << path;
    };
    const auto link = [&](const char *to, const fs::path &at, uid_t uid) {
        fs::create_symlink(to, at);
        own(at, uid);
    };
    const fs::path sticky = Path("sticky");
    const fs::path home = Path("home");
    const fs::path rootDir = Path("root");
    fs::create_directory(sticky);
    fs::permissions(sticky, fs::perms(01777));
    fs::create_directory(home);
    own(home, kUser);
    fs::create_directory(rootDir);
    WriteFile(rootDir / "secret", "secret\n");
    for (const fs::path &file : {sticky / "mine", home / "real"}) {
        WriteFile(file, kBase);
        own(file, kUser);
    }
    link("mine", sticky / "link", kUser);           // the user's, in a sticky directory
    link("real", home / "dotfile", kUser);          // the user's, to their own file
    link("dotfile", home / "chain", kUser);         // the same, through another link
    link("../root/secret", home / "secret", kUser); // the user's, to root's file
    link("../root", home / "sub", kUser);           // the user's, to root's directory
    link("home/real", Path("rootlink"), 0);         // root's, to the user's file
    link("loop2", home / "loop1", kUser);
    link("loop1", home / "loop2", kUser);
    struct Case {
        fs::path target;
        unsigned code;   // 0: followed
        fs::path edited; // what a followed link leads to
    };
    const Case cases[] = {
        {sticky / "link", ERR_UNSAFE_LINK, {}},   {home / "dotfile", 0, home / "real"},
        {home / "chain", 0, home / "real"},       {home / "secret", ERR_UNSAFE_LINK, {}},
        {home / "sub/conf", ERR_UNSAFE_LINK, {}}, {Path("rootlink"), 0, home / "real"},
        {home / "loop1", ERR_OPEN_FAILED, {}},
    };
    for (const Case &c : cases) {
        for (const Writer &writer : AllWriters()) {
            SCOPED_TRACE(c.target.string() + ", " + writer.name);
            WriteFile(home / "real", kBase);
            Args args;
            ResetError();
            const int result = writer.call(c.target.c_str(), args);
            if (c.code != 0) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(VELKCErrGet(), c.code);
            } else {
                EXPECT_EQ(result, writer.result);
                EXPECT_NE(ReadFile(c.edited), kBase);
                EXPECT_TRUE(fs::is_symlink(c.target));
            }
        }
    }
    EXPECT_EQ(ReadFile(rootDir / "secret"), "secret\n");
    EXPECT_EQ(ListDir(rootDir), std::set<std::string>{"secret"});
    EXPECT_EQ(ReadFile(sticky / "mine"), kBase);
}

TEST_F(Hostile, LongestNameIsCreatedAndRewritten)
{
    const std::string name(NAME_MAX, 'n');
    const fs::path conf = dir_ / name;
    EXPECT_EQ(VELKCFileSetKeyValue(conf.c_str(), "k1", "x", nullptr), 1);
    EXPECT_EQ(ReadFile(conf), "k1=x\n");
    for (const Writer &writer : AllWriters()) {
        if (!writer.rewrites) {
            continue;
        }
        SCOPED_TRACE(writer.name);
        WriteFile(conf, kBase);
        Args args;
        EXPECT_EQ(writer.call(conf.c_str(), args), writer.result);
        EXPECT_NE(ReadFile(conf), kBase);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{name});
    }
}

TEST_F(Hostile, PathOfPathMaxMinusOneWorks)
{
    // Nested directories, then a name that brings the path to PATH_MAX - 1.
    fs::path parent = dir_;
    while (PATH_MAX - 2 - parent.native().size() > NAME_MAX) {
        parent /= std::string(200, 'd');
        ASSERT_TRUE(fs::create_directory(parent));
    }
    const fs::path conf = parent / std::string(PATH_MAX - 2 - parent.native().size(), 'n');
    ASSERT_EQ(conf.native().size(), PATH_MAX - 1u);
    EXPECT_EQ(VELKCFileSetKeyValue(conf.c_str(), "k1", "x", nullptr), 1);
    EXPECT_EQ(VELKCFileSetKeyValue(conf.c_str(), "k2", "y", nullptr), 1);
    EXPECT_EQ(VELKCFileRemoveKey(conf.c_str(), "k1"), 1);
    char value[8];
    EXPECT_EQ(VELKCFileGetKeyValue(conf.c_str(), "k2", value, sizeof(value), 0), 2);
    EXPECT_STREQ(value, "y");
    EXPECT_EQ(ReadFile(conf), "k2=y\n");
    EXPECT_EQ(ListDir(parent).size(), 1u);
}

TEST_F(Hostile, LineOverTheLimitFailsEveryCallAndChangesNothing)
{
    const fs::path conf = Path("conf");
    const std::string tooLong = std::string(VELKC_FILE_MAX_LINE, 'x') + "\n" + kBase;
    WriteFile(conf, tooLong);
    ExpectAllRefused(conf, ERR_READ_FAILED, true);
    EXPECT_TRUE(ReadFile(conf) == tooLong);
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
}

TEST_F(Hostile, LineAtTheLimitIsAnOrdinaryLine)
{
    const fs::path conf = Path("conf");
    const std::string longest = std::string(VELKC_FILE_MAX_LINE - 1, 'x') + "\n";
    for (const Reader &reader : AllReaders()) {
        SCOPED_TRACE(reader.name);
        WriteFile(conf, kBase);
        Args plainArgs;
        const int plain = reader.call(conf.c_str(), plainArgs);
        WriteFile(conf, longest + kBase);
        Args args;
        EXPECT_EQ(reader.call(conf.c_str(), args), plain);
    }
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        const auto [result, content] = PlainOutcome(writer, kBase);
        WriteFile(conf, longest + kBase);
        Args args;
        EXPECT_EQ(writer.call(conf.c_str(), args), result);
        EXPECT_TRUE(ReadFile(conf) == longest + content);
    }
}

// The writers that take a pair are fuzzed with keys, values and section
// names that would smuggle in lines of their own (fuzz_writers); the stream
// writer is not.
TEST_F(Hostile, InjectedLinesAreRefusedByTheStreamWriter)
{
    const fs::path conf = Path("conf");
    WriteFile(conf, kBase);
    const std::pair<const char *, const char *> pairs[] = {
        {"k", "v\nevil=1"}, {"k", "v\r"}, {"a=b", "v"}, {"[sec]", "v"}, {"#c", "v"},
        {";c", "v"},        {"", "v"},    {"  ", "v"},  {"a\nb", "v"},  {"a\rb", "v"},
    };
    const auto expectRefused = [&](const char *section, const PairHash &pair) {
        const velkc::UniqueFile stream(std::fopen(conf.c_str(), "a"));
        ResetError();
        EXPECT_EQ(VELKCFileHash2File(stream.get(), section, pair.get(), nullptr), -1) << section;
        EXPECT_EQ(VELKCErrGet(), ERR_BAD_PARAMETERS);
    };
    for (const auto &[key, value] : pairs) {
        expectRefused("t", PairHash{{key, value}});
    }
    for (const char *section : {"t\nevil=1", "t\r"}) {
        expectRefused(section, PairHash{{"k", "v"}});
    }
    EXPECT_EQ(ReadFile(conf), kBase);
}

TEST_F(Hostile, KeyLineWithoutTextBeforeItsEqualsSignStaysReadable)
{
    const fs::path conf = Path("conf");
    WriteFile(conf, "a=1\n=k=old\nb=2\n");
    EXPECT_EQ(VELKCFileSetKeyValue(conf.c_str(), "k", "new", nullptr), 1);
    char value[8];
    EXPECT_EQ(VELKCFileGetKeyValue(conf.c_str(), "k", value, sizeof(value), 0), 4);
    EXPECT_STREQ(value, "new");
    EXPECT_EQ(ReadFile(conf), "a=1\nk=new\nb=2\n");
}

} // namespace
