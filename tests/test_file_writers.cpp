// The configuration writers on the files users have, and the safe rewrite
// they share: the target is replaced whole or not at all, keeps its owner
// and mode, and nothing is left beside it.
#include "file_support.hpp"

#include <csignal>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <sys/mount.h>
#include <sys/xattr.h>

using namespace test;

namespace {

using Edit = int (*)(const char *path);

class Writers : public ScratchTest {
protected:
    // Runs edit on a file holding text and returns what the file then holds.
    template <typename Call>
    std::string After(const std::string &text, int result, Call &&edit)
    {
        WriteFile(Path("conf"), text);
        ResetError();
        EXPECT_EQ(edit(Path("conf").c_str()), result);
        return ReadFile(Path("conf"));
    }
};

// Each writer on the target by its full name, by a name relative to the
// current directory and through a symbolic link. As root the target belongs
// to another user and has set-id bits; a sibling named like a temporary
// file must stay as it is.
TEST_F(Writers, RewriteKeepsOwnerModeAndNeighbours)
{
    const uid_t owner = IsRoot() ? 65534 : geteuid();
    const mode_t mode = IsRoot() ? 06640 : 0600;
    const fs::path files = Path("files");
    const fs::path real = files / "conf";
    fs::create_directories(Path("links"));
    fs::create_directory(files);
    fs::create_symlink("../files/conf", Path("links/conf"));
    const Guard cwd = ChangeDir(files);
    for (const Writer &writer : AllWriters()) {
        std::string first;
        for (const fs::path &target : {real, fs::path("conf"), Path("links/conf")}) {
            SCOPED_TRACE(std::string(writer.name) + " on " + target.string());
            WriteFile(real, kBase);
            WriteFile(files / "conf.tmp", "sibling\n");
            ASSERT_EQ(chown(real.c_str(), owner, owner), 0);
            ASSERT_EQ(chmod(real.c_str(), mode), 0);
            Args args;
            ASSERT_EQ(writer.call(target.c_str(), args), writer.result);
            const std::string content = ReadFile(real);
            EXPECT_NE(content, kBase);
            EXPECT_EQ(content, first.empty() ? content : first);
            first = content;
            struct stat st;
            ASSERT_EQ(stat(real.c_str(), &st), 0);
            EXPECT_EQ(st.st_uid, owner);
            EXPECT_EQ(st.st_gid, owner);
            EXPECT_EQ(st.st_mode & 07777, mode);
            EXPECT_EQ(ListDir(files), (std::set<std::string>{"conf", "conf.tmp"}));
            EXPECT_EQ(ReadFile(files / "conf.tmp"), "sibling\n");
            EXPECT_TRUE(fs::is_symlink(Path("links/conf")));
        }
    }
}

// An access ACL as the kernel stores it: the owner rw-, user 12345 r--, the
// group r--, the mask r-- and others nothing (mode 0640).
std::string AccessAcl()
{
    struct Entry {
        std::uint16_t tag;
        std::uint16_t perm;
        std::uint32_t id;
    };
    constexpr std::uint32_t kVersion = 2;
    constexpr std::uint32_t kNoId = ~0u;
    const Entry entries[] = {{0x01, 6, kNoId}, {0x02, 4, 12345}, {0x04, 4, kNoId}, {0x10, 4, kNoId}, {0x20, 0, kNoId}};
    std::string acl(reinterpret_cast<const char *>(&kVersion), sizeof kVersion);
    return acl.append(reinterpret_cast<const char *>(entries), sizeof entries);
}

// The value of an extended attribute, or none.
std::optional<std::string> Attribute(const fs::path &file, const char *name)
{
    char value[256];
    const ssize_t size = getxattr(file.c_str(), name, value, sizeof value);
    return size < 0 ? std::nullopt : std::optional<std::string>(std::string(value, static_cast<std::size_t>(size)));
}

// A rewrite keeps every extended attribute of the file it replaces, and
// adds none: not even the ACL a directory's default would give a new file.
TEST_F(Writers, RewriteKeepsExtendedAttributesAndAcls)
{
    const fs::path conf = Path("conf");
    const std::string acl = AccessAcl();
    WriteFile(conf, kBase);
    if (setxattr(conf.c_str(), "user.velkc", "1", 1, 0) != 0 ||
        setxattr(conf.c_str(), "system.posix_acl_access", acl.data(), acl.size(), 0) != 0) {
        GTEST_SKIP() << "no user attributes or ACLs on this file system (" << std::strerror(errno) << ")";
    }
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        WriteFile(conf, kBase);
        ASSERT_EQ(setxattr(conf.c_str(), "user.velkc", "1", 1, 0), 0);
        ASSERT_EQ(setxattr(conf.c_str(), "system.posix_acl_access", acl.data(), acl.size(), 0), 0);
        Args args;
        ASSERT_EQ(writer.call(conf.c_str(), args), writer.result);
        EXPECT_NE(ReadFile(conf), kBase);
        EXPECT_EQ(Attribute(conf, "user.velkc"), "1");
        EXPECT_EQ(Attribute(conf, "system.posix_acl_access"), acl);
        EXPECT_EQ(fs::status(conf).permissions(), fs::perms(0640));
    }
    // A default ACL on the directory, and a file without an ACL.
    ASSERT_EQ(setxattr(dir_.c_str(), "system.posix_acl_default", acl.data(), acl.size(), 0), 0);
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        fs::remove(conf);
        WriteFile(conf, kBase);
        removexattr(conf.c_str(), "system.posix_acl_access");
        fs::permissions(conf, fs::perms(0600));
        Args args;
        ASSERT_EQ(writer.call(conf.c_str(), args), writer.result);
        EXPECT_EQ(Attribute(conf, "system.posix_acl_access"), std::nullopt);
        EXPECT_EQ(fs::status(conf).permissions(), fs::perms(0600));
    }
}

TEST_F(Writers, MissingFileIsCreatedOrRefused)
{
    // What the writers that make a missing file put in it.
    const std::map<std::string, std::string> created = {
        {"SetKeyValue", "k1=x\n"},  {"AppendKey", "k9=v\n"},         {"AddLine", "new\n"},
        {"AddLineAppend", "new\n"}, {"AddLineByKeyAppend", "new"},   {"SetLine", "k2=z\n"},
        {"SetKeys", "k1=z\n"},      {"AddSection", "\n[t]\nk1=z\n"}, {"SetSectionKeyValue", "[s]\nm=2\n"},
        {"EditCommit", "k1=z\n"},
    };
    // Nor is a file made where a dangling symbolic link points.
    fs::create_symlink("nowhere", Path("dangling"));
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        Args args;
        ResetError();
        if (writer.creates) {
            EXPECT_GE(writer.call(Path("missing").c_str(), args), 0);
            EXPECT_EQ(ReadFile(Path("missing")), created.at(writer.name));
            fs::remove(Path("missing"));
        } else {
            EXPECT_EQ(writer.call(Path("missing").c_str(), args), -1);
            EXPECT_EQ(VELKCErrGet(), ERR_OPEN_FAILED);
        }
        ResetError();
        EXPECT_EQ(writer.call(Path("dangling").c_str(), args), -1);
        EXPECT_EQ(VELKCErrGet(), ERR_OPEN_FAILED);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"dangling"});
    }
}

TEST_F(Writers, NewFileBelongsToTheCallerWhateverTheUmask)
{
    const PairHash pair{{"k", "v"}};
    {
        const Guard mask = SetUmask(077);
        EXPECT_EQ(VELKCFileSetKeys(Path("new").c_str(), pair.get(), nullptr, nullptr), 1);
    }
    struct stat st;
    ASSERT_EQ(stat(Path("new").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0644u);
    EXPECT_EQ(st.st_uid, getuid());
    EXPECT_EQ(st.st_gid, getgid());
}

TEST_F(Writers, NothingToChangeLeavesTheFileAsItWas)
{
    velkc::List absent(VELKCSzListAlloc(0));
    VELKCSzListPush(absent.address(), "nokey");
    const std::function<int(const char *)> edits[] = {
        [](const char *p) { return VELKCFileRemoveKey(p, "k"); },
        [](const char *p) { return VELKCFileAddLine(p, "zz", "x", 0); },
        [](const char *p) { return VELKCFileSetLine(p, "zz", "x", 0); },
        [&](const char *p) { return VELKCFileSetLineByKey(p, absent.get(), "x", "="); },
        [&](const char *p) { return VELKCFileAddLineByKey(p, absent.get(), "x", 0, "="); },
        [](const char *p) { return VELKCFileReplaceSubStr(p, "zz", "x"); },
        [](const char *p) { return VELKCFileLineComment(p, "zz", 0); },
        [](const char *p) { return VELKCFileAppendKey(p, "k1", "x", nullptr); },
        [](const char *p) { return VELKCIFileModifySection(p, "zz", nullptr, nullptr, 0, nullptr); },
        // The matcher refuses negative flags line by line: no line matches.
        [](const char *p) { return VELKCFileSetLine(p, "k1", "x", -1); },
    };
    for (const auto &edit : edits) {
        EXPECT_EQ(After(kBase, 0, edit), kBase);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
    }
}

TEST_F(Writers, DirectoryTargetIsRefused)
{
    fs::create_directory(Path("conf"));
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(Path("conf").c_str(), args), -1);
        // Appending a key treats a directory as a bad path.
        EXPECT_EQ(VELKCErrGet(), std::strcmp(writer.name, "AppendKey") == 0 ? ERR_BAD_PARAMETERS : ERR_OPEN_FAILED);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
        EXPECT_TRUE(fs::is_empty(Path("conf")));
    }
}

// A failed write is a write error, and changes nothing (every step's
// failure is tried by the fault injection, which takes any I/O error).
TEST_F(Writers, WritePastTheFileSizeLimitKeepsTheTarget)
{
    WriteFile(Path("conf"), kLarge);
    const Guard noSignal = SetSignal(SIGXFSZ, SIG_IGN);
    const Guard limit = LowerLimit(RLIMIT_FSIZE, 4096);
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        Args args;
        ResetError();
        EXPECT_EQ(writer.call(Path("conf").c_str(), args), -1);
        EXPECT_EQ(VELKCErrGet(), ERR_WRITE_FAILED);
        EXPECT_TRUE(ReadFile(Path("conf")) == kLarge);
        EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
    }
}

// Root only: a bind mount on the target makes the final rename fail.
TEST_F(Writers, FailedRenameKeepsTheTarget)
{
    WriteFile(Path("conf"), kBase);
    WriteFile(Path("cover"), kBase);
    if (!IsRoot() || mount(Path("cover").c_str(), Path("conf").c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "cannot bind-mount here";
    }
    for (const Edit edit : {+[](const char *p) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); },
                            +[](const char *p) { return VELKCFileAddLine(p, nullptr, "x", 0); }}) {
        ResetError();
        EXPECT_EQ(edit(Path("conf").c_str()), -1);
        EXPECT_EQ(VELKCErrGet(), ERR_RENAME_FAILED);
        EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"conf", "cover"}));
    }
    umount2(Path("conf").c_str(), MNT_DETACH);
    EXPECT_EQ(ReadFile(Path("conf")), kBase);
}

struct EditCase {
    const char *before;
    Edit edit;
    int result;
    const char *after;
};

const PairHash kPair{{"k", "v"}};

// Final newlines, CRLF lines, keys that are prefixes of other keys.
TEST_F(Writers, EditsOfOrdinaryFiles)
{
    const auto setK = +[](const char *p) { return VELKCFileSetKeyValue(p, "k", "v", nullptr); };
    const auto setKeys = +[](const char *p) { return VELKCFileSetKeys(p, kPair.get(), nullptr, nullptr); };
    const auto addSection = +[](const char *p) { return VELKCFileAddSection(p, "s", kPair.get(), nullptr); };
    const auto append = +[](const char *p) { return VELKCFileAddLine(p, nullptr, "x", MATCH_FLAG_AFTER); };
    const char *const crlf = "k1=v1\r\nk2=v2\r\n[s]\r\nm=1\r\n";
    const char *const prefixes = "key1=a\nkey=b\nkey.sub=c\n key = d\n";
    const EditCase cases[] = {
        // Exactly one newline before an appended line.
        {"a=1", setK, 1, "a=1\nk=v\n"},
        {"a=1\n", setK, 1, "a=1\nk=v\n"},
        {"", setK, 1, "k=v\n"},
        {"a", append, 1, "a\nx\n"},
        {"", append, 1, "x\n"},
        {"b\na", [](const char *p) { return VELKCFileAddLine(p, "a", "x", MATCH_FLAG_AFTER); }, 1, "b\na\nx\n"},
        {"a=1", setKeys, 1, "a=1\nk=v\n"},
        {"", setKeys, 1, "k=v\n"},
        // A section follows a line of its own: an empty file gets a blank one.
        {"a=1", addSection, 1, "a=1\n[s]\nk=v\n"},
        {"", addSection, 1, "\n[s]\nk=v\n"},
        // A format without "\n" is refused, unless the section is already there.
        {"a=1", [](const char *p) { return VELKCFileAddSection(p, "s", kPair.get(), "%s=%s"); }, -1, "a=1"},
        {"[s]\nk=v\n", [](const char *p) { return VELKCFileAddSection(p, "s", kPair.get(), "%s=%s"); }, 0,
         "[s]\nk=v\n"},
        // Appending a key and the key-list shortcut do not look at the last line.
        {"a=1", [](const char *p) { return VELKCFileAppendKey(p, "k", "v", nullptr); }, 1, "a=1k=v\n"},
        {"a", [](const char *p) { return VELKCFileAddLineByKey(p, nullptr, "x", MATCH_FLAG_AFTER, "="); }, 0, "ax"},
        // Only the rewritten line loses its "\r".
        {crlf, [](const char *p) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); }, 1,
         "k1=x\nk2=v2\r\n[s]\r\nm=1\r\n"},
        {crlf, [](const char *p) { return VELKCFileRemoveKey(p, "k2"); }, 1, "k1=v1\r\n[s]\r\nm=1\r\n"},
        // A suffix must stand right before the "\n": the "\r" is in the way.
        {crlf, [](const char *p) { return VELKCFileSetLine(p, "v2", "x", MATCH_FLAG_SUFFIX); }, 0, crlf},
        // "\r" after the "]" is white space: the header still names the section.
        {crlf, [](const char *p) { return VELKCIFileModifySection(p, "s", nullptr, nullptr, 0, nullptr); }, 1,
         "k1=v1\r\nk2=v2\r\n"},
        {prefixes, [](const char *p) { return VELKCFileSetKeyValue(p, "key", "x", nullptr); }, 1,
         "key1=a\nkey=x\nkey.sub=c\n"},
        {prefixes, [](const char *p) { return VELKCFileRemoveKey(p, "key"); }, 2, "key1=a\nkey.sub=c\n"},
        {prefixes, [](const char *p) { return VELKCFileRemoveKey(p, "ke"); }, 0, prefixes},
        {prefixes, [](const char *p) { return VELKCFileAppendKey(p, "key1", "x", nullptr); }, 0, prefixes},
        {prefixes, [](const char *p) { return VELKCFileAppendKey(p, "ke", "x", nullptr); }, 1,
         "key1=a\nkey=b\nkey.sub=c\n key = d\nke=x\n"},
        // An empty pattern stands in every line, a last line of blanks too.
        {"a\n#b\n  ", [](const char *p) { return VELKCFileLineComment(p, "", 0); }, 1, "#a\n#b\n#  "},
    };
    for (const EditCase &c : cases) {
        EXPECT_EQ(After(c.before, c.result, c.edit), c.after) << "on \"" << c.before << '"';
    }
}

// Lines without the key are passed over in runs straight from the read
// buffer: key lines, and lines that hold the key elsewhere, at every offset
// around the end of the first 64 KiB read.
TEST_F(Writers, KeyLinesAcrossTheReadBufferEnd)
{
    const PairHash keys{{"new", "n"}};
    const PairHash drop{{"mid", ""}};
    for (std::size_t offset = 65520; offset < 65552; ++offset) {
        SCOPED_TRACE(offset);
        const std::string head = "f=" + std::string(offset - 3, 'x') + "\nzk=k\n";
        const std::string text = head + "k=old\nmid=1\n k =dup\nk2=v";
        char value[8] = "";
        WriteFile(Path("conf"), text);
        ASSERT_EQ(VELKCFileGetKeyValue(Path("conf").c_str(), "k", value, sizeof value, 0), 4);
        ASSERT_STREQ(value, "old");
        ASSERT_EQ(After(text, 1, [](const char *p) { return VELKCFileSetKeyValue(p, "k", "new", nullptr); }),
                  head + "k=new\nmid=1\nk2=v");
        ASSERT_EQ(After(text, 2, [](const char *p) { return VELKCFileRemoveKey(p, "k"); }), head + "mid=1\nk2=v");
        ASSERT_EQ(After(text, 1, [&](const char *p) { return VELKCFileSetKeys(p, keys.get(), drop.get(), nullptr); }),
                  head + "k=old\n k =dup\nk2=v\nnew=n\n");
    }
}

// Keys of every size up to well past two words, each beside lines of keys of
// the same size that differ from it in one byte (the first, a middle one or
// the last): every key finds its own line and no other.
TEST_F(Writers, SetKeysOfEverySizeFindOnlyTheirOwnLines)
{
    PairHash keys{};
    std::string before;
    std::string after;
    for (std::size_t size = 1; size <= 20; ++size) {
        std::string key;
        for (std::size_t i = 0; i < size; ++i) {
            key += static_cast<char>('a' + (size + i) % 26);
        }
        for (std::size_t at : {std::size_t{0}, size / 2, size - 1}) {
            std::string twin = key;
            twin[at] = '_';
            before += twin + "=twin\n";
            after += twin + "=twin\n";
        }
        before += key + "=old\n";
        after += key + "=" + std::to_string(size) + "\n";
        VELKCSzHashSetValue(keys.address(), key.c_str(), std::to_string(size).c_str());
    }
    EXPECT_EQ(After(before, 1, [&](const char *p) { return VELKCFileSetKeys(p, keys.get(), nullptr, nullptr); }),
              after);
}

// A line's key ends at its first "=", at a NUL or with the line, wherever
// that and the line's end fall among the blocks lines are scanned in: keys
// of every size up to past two blocks, at every shift of the lines' start,
// beside lines of near keys that stay as they are.
TEST_F(Writers, SetKeysFindsKeysEndingAnywhere)
{
    PairHash keys{};
    std::string lines;
    std::string edited;
    for (std::size_t size = 1; size <= 40; ++size) {
        const std::string noEquals(size, 'a');
        const std::string nul(size, 'b');
        const std::string leadingEquals(size, 'c');
        const std::string plain(size, 'd');
        const std::string twins = plain + "e=keep\n" + plain.substr(1) + "e=keep\n";
        lines += noEquals + "\n" + nul + std::string("\0=x\n", 4) + "==" + leadingEquals + "=old\n" + twins + plain +
                 "=old\n";
        edited += noEquals + "=1\n" + nul + "=2\n" + leadingEquals + "=3\n" + twins + plain + "=4\n";
        for (const auto &[key, value] : {std::pair{noEquals, "1"}, {nul, "2"}, {leadingEquals, "3"}, {plain, "4"}}) {
            VELKCSzHashSetValue(keys.address(), key.c_str(), value);
        }
    }
    for (std::size_t shift = 0; shift < 16; ++shift) {
        SCOPED_TRACE(shift);
        const std::string head = "#" + std::string(shift, '-') + "\n";
        ASSERT_EQ(
            After(head + lines, 1, [&](const char *p) { return VELKCFileSetKeys(p, keys.get(), nullptr, nullptr); }),
            head + edited);
    }
}

// A pair that would break the file's structure is refused wherever in the
// key or value the offending byte stands, and nothing is written.
TEST_F(Writers, SetKeysRefusesALineBreakOrEqualsAnywhere)
{
    const std::string text = "k=v\n";
    for (std::size_t at = 0; at < 10; ++at) {
        SCOPED_TRACE(at);
        for (char bad : {'\n', '\r', '='}) {
            std::string word(10, 'x');
            word[at] = bad;
            PairHash badKey{{word.c_str(), "v"}};
            EXPECT_EQ(
                After(text, -1, [&](const char *p) { return VELKCFileSetKeys(p, badKey.get(), nullptr, nullptr); }),
                text);
            EXPECT_EQ(VELKCErrGet(), ERR_BAD_PARAMETERS);
            if (bad != '=') {
                PairHash badValue{{"k", word.c_str()}};
                EXPECT_EQ(After(text, -1,
                                [&](const char *p) { return VELKCFileSetKeys(p, badValue.get(), nullptr, nullptr); }),
                          text);
                EXPECT_EQ(VELKCErrGet(), ERR_BAD_PARAMETERS);
            }
        }
        const std::string good(at + 1, 'x');
        PairHash pair{{good.c_str(), good.c_str()}};
        EXPECT_EQ(After(text, 1, [&](const char *p) { return VELKCFileSetKeys(p, pair.get(), nullptr, nullptr); }),
                  text + good + "=" + good + "\n");
    }
}

} // namespace
