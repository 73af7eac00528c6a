// Targets and arguments a configuration file should never meet, and what
// the readers and writers make of them: FIFOs, sockets and devices,
// symbolic and hard links, names at the length limits, over-long lines,
// and keys or values that would smuggle in lines of their own.
#include "internal.hpp"
#include "test_file_writers_support.hpp"

#include <climits>
#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace writers_test;

namespace {

struct Reader {
    const char *name;
    // Reads a file like kBase.
    std::function<int(const char *path, Args &args)> call;
    // Result on failure.
    int failure;
};

const std::vector<Reader> &AllReaders()
{
    static char buf[64];
    static const std::vector<Reader> readers = {
        {"GetKeyValue", [](const char *p, Args &) { return VELKCFileGetKeyValue(p, "k1", buf, sizeof(buf), 0); }, -1},
        {"GetLine", [](const char *p, Args &) { return VELKCFileGetLine(p, "k1", buf, sizeof(buf), 0); }, -1},
        {"GetPair", [](const char *p, Args &a) { return VELKCFileGetPair(p, &a.hash); }, -1},
        {"GetSection", [](const char *p, Args &a) { return VELKCFileGetSection(p, "s", &a.hash); }, -1},
        {"GetSectionValue",
         [](const char *p, Args &) { return VELKCFileGetSectionValue(p, "s", "m", buf, sizeof(buf)); }, -1},
        {"EnumSection", [](const char *p, Args &a) { return VELKCFileEnumSection(p, &a.keys); }, -1},
        {"GetKeys", [](const char *p, Args &a) { return VELKCFileGetKeys(p, nullptr, &a.hash, "="); }, -1},
        {"ReadLines", [](const char *p, Args &a) { return VELKCFileReadLines(p, &a.keys); }, -1},
        // Answers 0 on errors, never the default.
        {"CheckKeyValue", [](const char *p, Args &) { return VELKCFileCheckKeyValue(p, "k1", "v1", 7); }, 0},
    };
    return readers;
}

// Ends the program, naming the call, when a call under test blocks.
class Watchdog {
public:
    explicit Watchdog(const char *call)
    {
        call_ = call;
        std::signal(SIGALRM, Bark);
        alarm(5);
    }
    ~Watchdog() { alarm(0); }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    static void Bark(int)
    {
        constexpr char blocked[] = "\nblocked for 5 s: ";
        (void)!write(STDERR_FILENO, blocked, sizeof(blocked) - 1);
        (void)!write(STDERR_FILENO, call_, std::strlen(call_));
        _exit(3);
    }

    static inline const char *volatile call_ = "";
};

// The two append shortcuts write without reading the file.
bool ReadsTheFile(const Writer &writer)
{
    return std::strcmp(writer.name, "AddLineAppend") != 0 && std::strcmp(writer.name, "AddLineByKeyAppend") != 0;
}

// Runs every reader and writer on path (with readingOnly, only the writers
// that read it); each fails with the failure result and code, promptly, and
// leaves file as it was.
void ExpectAllRefused(const fs::path &path, unsigned code, bool readingOnly = false)
{
    for (const Reader &reader : AllReaders()) {
        SCOPED_TRACE(reader.name);
        const Watchdog watchdog(reader.name);
        Args args;
        ResetError();
        EXPECT_EQ(reader.call(path.c_str(), args), reader.failure);
        EXPECT_EQ(VELKCErrGet(), code);
    }
    for (const Writer &writer : AllWriters()) {
        if (readingOnly && !ReadsTheFile(writer)) {
            continue;
        }
        SCOPED_TRACE(writer.name);
        const Watchdog watchdog(writer.name);
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(path.c_str(), args), -1);
        EXPECT_EQ(VELKCErrGet(), code);
    }
}

class Hostile : public ScratchDir {
protected:
    // A writer's result and the content it leaves, on a plain file holding
    // text.
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

    // Fresh, empty directories "links" and "files", with links/conf a
    // symbolic link to ../files/conf.
    void LinkedDirs()
    {
        for (const char *name : {"links", "files"}) {
            fs::remove_all(Path(name));
            fs::create_directory(Path(name));
        }
        fs::create_symlink("../files/conf", Path("links") / "conf");
    }

    static bool IsTheLink(const fs::path &link)
    {
        return fs::is_symlink(link) && fs::read_symlink(link) == "../files/conf";
    }
};

TEST_F(Hostile, NonRegularTargetsAreRefusedAtOnce)
{
    const fs::path node = Path("node");
    const velkc::UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_TRUE(listener);
    struct Kind {
        const char *name;
        std::function<bool()> make; // false: cannot be made here
        mode_t type;
    };
    const Kind kinds[] = {
        {"FIFO", [&] { return mkfifo(node.c_str(), 0666) == 0; }, S_IFIFO},
        {"socket",
         [&] {
             sockaddr_un addr{};
             addr.sun_family = AF_UNIX;
             std::strncpy(addr.sun_path, node.c_str(), sizeof(addr.sun_path) - 1);
             return bind(listener.get(), reinterpret_cast<sockaddr *>(&addr), sizeof(addr)) == 0 &&
                    listen(listener.get(), 1) == 0;
         },
         S_IFSOCK},
        {"character device", [&] { return IsRoot() && mknod(node.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0; },
         S_IFCHR},
    };
    for (const Kind &kind : kinds) {
        SCOPED_TRACE(kind.name);
        if (!kind.make()) {
            std::printf("skipped: cannot make a %s here\n", kind.name);
            continue;
        }
        ExpectAllRefused(node, ERR_OPEN_FAILED);
        struct stat st;
        ASSERT_EQ(lstat(node.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & S_IFMT, kind.type);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"node"});
        fs::remove(node);
    }
}

TEST_F(Hostile, EditThroughASymlinkChangesTheFileItPointsTo)
{
    const fs::path link = Path("links") / "conf";
    const fs::path real = Path("files") / "conf";
    const uid_t owner = IsRoot() ? 65534 : geteuid();
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        const auto [result, content] = PlainOutcome(writer, kBase);
        LinkedDirs();
        WriteFile(real, kBase);
        ASSERT_EQ(chown(real.c_str(), owner, owner), 0);
        ASSERT_EQ(chmod(real.c_str(), 0640), 0);
        Args args;
        EXPECT_EQ(writer.call(link.c_str(), args), result);
        EXPECT_TRUE(IsTheLink(link));
        EXPECT_EQ(ReadFile(real), content);
        EXPECT_EQ(ListDir(Path("links")), std::set<std::string>{"conf"});
        EXPECT_EQ(ListDir(Path("files")), std::set<std::string>{"conf"});
        struct stat st;
        ASSERT_EQ(stat(real.c_str(), &st), 0);
        EXPECT_EQ(st.st_uid, owner);
        EXPECT_EQ(st.st_gid, owner);
        EXPECT_EQ(st.st_mode & 07777, 0640u);
    }
}

TEST_F(Hostile, DanglingSymlinkIsNotFollowedToCreateAFile)
{
    const fs::path link = Path("links") / "conf";
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        LinkedDirs();
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(link.c_str(), args), -1);
        EXPECT_EQ(VELKCErrGet(), ERR_OPEN_FAILED);
        EXPECT_TRUE(IsTheLink(link));
        EXPECT_EQ(ListDir(Path("links")), std::set<std::string>{"conf"});
        EXPECT_TRUE(fs::is_empty(Path("files")));
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

// Calls that would write key and value into a file.
std::vector<std::pair<std::string, std::function<int(const char *)>>> PairWriters(const char *key, const char *value,
                                                                                   const SzHash *pair)
{
    return {
        {"SetKeyValue", [=](const char *p) { return VELKCFileSetKeyValue(p, key, value, nullptr); }},
        {"AppendKey", [=](const char *p) { return VELKCFileAppendKey(p, key, value, nullptr); }},
        {"SetKeys", [=](const char *p) { return VELKCFileSetKeys(p, const_cast<SzHash *>(pair), nullptr, nullptr); }},
        {"AddSection", [=](const char *p) { return VELKCFileAddSection(p, "t", pair, nullptr); }},
        {"ModifySection",
         [=](const char *p) { return VELKCIFileModifySection(p, "s", nullptr, pair, SECTION_FLAG_REPLACE, nullptr); }},
        {"Hash2File",
         [=](const char *p) {
             const velkc::UniqueFile stream(std::fopen(p, "a"));
             return VELKCFileHash2File(stream.get(), "t", pair, nullptr);
         }},
    };
}

TEST_F(Hostile, InjectedLinesAreRefusedAndChangeNothing)
{
    const fs::path conf = Path("conf");
    WriteFile(conf, kBase);
    const auto expectRefused = [&](const std::string &name, const std::function<int(const char *)> &call) {
        SCOPED_TRACE(name);
        for (int twice = 0; twice < 2; ++twice) {
            ResetError();
            EXPECT_EQ(call(conf.c_str()), -1);
            EXPECT_EQ(VELKCErrGet(), ERR_BAD_PARAMETERS);
            EXPECT_EQ(ReadFile(conf), kBase);
        }
    };
    const std::pair<const char *, const char *> pairs[] = {
        {"k", "v\nevil=1"}, {"k", "v\r"}, {"a=b", "v"}, {"[sec]", "v"}, {"#c", "v"},
        {";c", "v"},        {"", "v"},    {"  ", "v"},  {"a\nb", "v"},  {"a\rb", "v"},
    };
    for (const auto &[key, value] : pairs) {
        const PairHash pair{{key, value}};
        ASSERT_EQ(VELKCSzHashPairNum(pair.hash), 1);
        for (const auto &[name, call] : PairWriters(key, value, pair.hash)) {
            expectRefused(name + " \"" + key + "\" = \"" + value + "\"", call);
        }
    }
    const PairHash good{{"k", "v"}};
    for (const char *section : {"t\nevil=1", "t\r"}) {
        expectRefused("AddSection", [&](const char *p) { return VELKCFileAddSection(p, section, good.hash, nullptr); });
        expectRefused("ModifySection", [&](const char *p) {
            return VELKCIFileModifySection(p, "s", section, good.hash, SECTION_FLAG_REPLACE, nullptr);
        });
        expectRefused("Hash2File", [&](const char *p) {
            const velkc::UniqueFile stream(std::fopen(p, "a"));
            return VELKCFileHash2File(stream.get(), section, good.hash, nullptr);
        });
    }
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
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
