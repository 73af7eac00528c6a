// The configuration writers on the files users actually have: missing
// files, null arguments, files without a final newline, empty files, CRLF
// lines, very long lines and keys that are prefixes of other keys.
#include "test_file_writers_support.hpp"

#include <cstring>
#include <map>
#include <sys/stat.h>

using namespace writers_test;

namespace {

class Writers : public ScratchDir {
protected:
    // Runs call on a file holding text and returns what the file then holds.
    template <typename Call>
    std::string After(const std::string &text, int result, Call &&call)
    {
        WriteFile(Path("conf"), text);
        ResetError();
        EXPECT_EQ(call(Path("conf").c_str()), result);
        return ReadFile(Path("conf"));
    }
};

TEST_F(Writers, MissingFileIsCreatedOrRefused)
{
    // Writers that make a missing file, and what they put in it.
    const std::map<std::string, std::string> created = {
        {"SetKeyValue", "k1=x\n"}, {"AppendKey", "k9=v\n"}, {"AddLine", "new\n"},
        {"AddLineAppend", "new\n"}, {"AddLineByKeyAppend", "new"}, {"SetLine", "k2=z\n"},
        {"SetKeys", "k1=z\n"},      {"AddSection", "\n[t]\nk1=z\n"},
    };
    for (const Writer &writer : AllWriters()) {
        SCOPED_TRACE(writer.name);
        const fs::path missing = Path("missing");
        Args args;
        ResetError();
        const int result = writer.call(missing.c_str(), args);
        const auto made = created.find(writer.name);
        if (made == created.end()) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(VELKCErrGet(), ERR_OPEN_FAILED);
            EXPECT_FALSE(fs::exists(missing));
        } else {
            EXPECT_GE(result, 0);
            EXPECT_EQ(ReadFile(missing), made->second);
        }
        EXPECT_LE(ListDir(dir_).size(), 1u); // no temporary file either way
        fs::remove(missing);
    }
}

TEST_F(Writers, NewFileOfSetKeysBelongsToTheCaller)
{
    SzHash *hash = VELKCSzHashAlloc(512);
    ASSERT_GE(VELKCSzHashSetValue(&hash, "k", "v"), 0);
    const mode_t oldMask = umask(077);
    EXPECT_EQ(VELKCFileSetKeys(Path("new").c_str(), hash, nullptr, nullptr), 1);
    umask(oldMask);
    struct stat st;
    ASSERT_EQ(stat(Path("new").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0644u);
    EXPECT_EQ(st.st_uid, getuid());
    EXPECT_EQ(st.st_gid, getgid());
    VELKCSzHashFree(hash);
}

TEST_F(Writers, EveryNullArgumentIsRefused)
{
    const std::string file = Path("conf").string();
    const char *f = file.c_str();
    WriteFile(f, kBase);
    Args args;
    SzHash *hash = args.hash;
    SzList *keys = args.keys;
    const std::function<int()> calls[] = {
        [&] { return VELKCFileSetKeyValue(nullptr, "k", "v", nullptr); },
        [&] { return VELKCFileSetKeyValue(f, nullptr, "v", nullptr); },
        [&] { return VELKCFileSetKeyValue(f, "k", nullptr, nullptr); },
        [&] { return VELKCFileAppendKey(nullptr, "k", "v", nullptr); },
        [&] { return VELKCFileAppendKey(f, nullptr, "v", nullptr); },
        [&] { return VELKCFileAppendKey(f, "k", nullptr, nullptr); },
        [&] { return VELKCFileRemoveKey(nullptr, "k"); },
        [&] { return VELKCFileRemoveKey(f, nullptr); },
        [&] { return VELKCFileAddLine(nullptr, "k", "x", 0); },
        [&] { return VELKCFileAddLine(f, "k", nullptr, 0); },
        [&] { return VELKCFileAddLine(f, "k", "x", -1); },
        [&] { return VELKCFileAddLineByKey(nullptr, keys, "x", 0, "="); },
        [&] { return VELKCFileAddLineByKey(f, keys, "x", 0, nullptr); },
        [&] { return VELKCFileAddLineByKey(f, keys, "x", MATCH_FLAG_IGNORE_CASE, "="); },
        [&] { return VELKCFileSetLine(nullptr, "k", "x", 0); },
        [&] { return VELKCFileSetLine(f, nullptr, "x", 0); },
        [&] { return VELKCFileSetLineByKey(nullptr, keys, "x", "="); },
        [&] { return VELKCFileSetLineByKey(f, nullptr, "x", "="); },
        [&] { return VELKCFileSetLineByKey(f, keys, "x", nullptr); },
        [&] { return VELKCFileReplaceSubStr(nullptr, "a", "b"); },
        [&] { return VELKCFileReplaceSubStr(f, nullptr, "b"); },
        [&] { return VELKCFileReplaceSubStr(f, "a", nullptr); },
        [&] { return VELKCFileReplaceSubStr(f, "", "b"); },
        [&] { return VELKCFileLineComment(nullptr, "k", 0); },
        [&] { return VELKCFileLineComment(f, nullptr, 0); },
        [&] { return VELKCFileSetKeys(nullptr, hash, nullptr, nullptr); },
        [&] { return VELKCFileSetKeys(f, nullptr, hash, nullptr); },
        [&] { return VELKCFileHash2File(nullptr, "s", hash, nullptr); },
        [&] { return VELKCFileAddSection(nullptr, "s", hash, nullptr); },
        [&] { return VELKCFileAddSection(f, nullptr, hash, nullptr); },
        [&] { return VELKCFileAddSection(f, "s", nullptr, nullptr); },
        [&] { return VELKCIFileModifySection(nullptr, "s", "t", hash, SECTION_FLAG_REPLACE, nullptr); },
        [&] { return VELKCIFileModifySection(f, nullptr, "t", hash, SECTION_FLAG_REPLACE, nullptr); },
    };
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        ResetError();
        EXPECT_EQ(calls[i](), -1) << "call " << i;
        EXPECT_EQ(VELKCErrGet(), ERR_BAD_PARAMETERS) << "call " << i;
    }
    EXPECT_EQ(ReadFile(f), kBase);
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
}

TEST_F(Writers, ExactlyOneNewlineBeforeAnAppendedLine)
{
    const auto setKey = [](const char *p) { return VELKCFileSetKeyValue(p, "k", "v", nullptr); };
    EXPECT_EQ(After("a=1", 1, setKey), "a=1\nk=v\n");
    EXPECT_EQ(After("a=1\n", 1, setKey), "a=1\nk=v\n");
    EXPECT_EQ(After("", 1, setKey), "k=v\n");

    const auto append = [](const char *p) { return VELKCFileAddLine(p, nullptr, "x", MATCH_FLAG_AFTER); };
    EXPECT_EQ(After("a", 1, append), "a\nx\n");
    EXPECT_EQ(After("", 1, append), "x\n");

    const auto afterLast = [](const char *p) { return VELKCFileAddLine(p, "a", "x", MATCH_FLAG_AFTER); };
    EXPECT_EQ(After("b\na", 1, afterLast), "b\na\nx\n");

    SzHash *hash = VELKCSzHashAlloc(512);
    ASSERT_GE(VELKCSzHashSetValue(&hash, "k", "v"), 0);
    const auto setKeys = [&](const char *p) { return VELKCFileSetKeys(p, hash, nullptr, nullptr); };
    EXPECT_EQ(After("a=1", 1, setKeys), "a=1\nk=v\n");
    EXPECT_EQ(After("", 1, setKeys), "k=v\n");

    // A section always follows a line of its own, so an empty file gets a
    // blank line first.
    const auto addSection = [&](const char *p) { return VELKCFileAddSection(p, "s", hash, nullptr); };
    EXPECT_EQ(After("a=1", 1, addSection), "a=1\n[s]\nk=v\n");
    EXPECT_EQ(After("", 1, addSection), "\n[s]\nk=v\n");

    // A format without "\n" appends nothing, but an existing section still
    // answers 0 before the format matters.
    const auto badFormat = [&](const char *p) { return VELKCFileAddSection(p, "s", hash, "%s=%s"); };
    EXPECT_EQ(After("a=1", -1, badFormat), "a=1");
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(After("[s]\nk=v\n", 0, badFormat), "[s]\nk=v\n");
    VELKCSzHashFree(hash);

    // Appending a key and the key-list append shortcut do not look at the
    // last line: the new text follows it directly. The shortcut adds nothing
    // after the line either.
    EXPECT_EQ(After("a=1", 1, [](const char *p) { return VELKCFileAppendKey(p, "k", "v", nullptr); }), "a=1k=v\n");
    EXPECT_EQ(After("a", 0,
                    [](const char *p) { return VELKCFileAddLineByKey(p, nullptr, "x", MATCH_FLAG_AFTER, "="); }),
              "ax");
}

TEST_F(Writers, CrlfLinesKeepTheirCarriageReturns)
{
    const std::string crlf = "k1=v1\r\nk2=v2\r\n[s]\r\nm=1\r\n";
    // The key is found through the "\r"; only the rewritten line changes.
    EXPECT_EQ(After(crlf, 1, [](const char *p) { return VELKCFileSetKeyValue(p, "k1", "x", nullptr); }),
              "k1=x\nk2=v2\r\n[s]\r\nm=1\r\n");
    EXPECT_EQ(After(crlf, 1, [](const char *p) { return VELKCFileRemoveKey(p, "k2"); }), "k1=v1\r\n[s]\r\nm=1\r\n");
    // A suffix must stand right before the "\n", so the "\r" is in the way.
    EXPECT_EQ(After(crlf, 0, [](const char *p) { return VELKCFileSetLine(p, "v2", "x", MATCH_FLAG_SUFFIX); }), crlf);
    EXPECT_EQ(VELKCErrGet(), ERR_KEY_NOT_FOUND);
    // "\r" after the "]" is white space: the header still names the section.
    EXPECT_EQ(After(crlf, 1, [](const char *p) { return VELKCIFileModifySection(p, "s", nullptr, nullptr, 0, nullptr); }),
              "k1=v1\r\nk2=v2\r\n");
}

TEST_F(Writers, VeryLongLinesSurviveUnchanged)
{
    const std::string longLine = "long=" + std::string(3 << 18, 'a') + "\n"; // 768 KiB
    const std::string text = "k1=v1\n" + longLine + "k2=v2\n";
    EXPECT_TRUE(After(text, 1, [](const char *p) { return VELKCFileSetKeyValue(p, "k2", "x", nullptr); }) ==
                "k1=v1\n" + longLine + "k2=x\n");
    EXPECT_TRUE(After(text, 1, [](const char *p) { return VELKCFileRemoveKey(p, "k1"); }) == longLine + "k2=v2\n");
    EXPECT_TRUE(After(text + longLine, 2, [](const char *p) { return VELKCFileRemoveKey(p, "long"); }) ==
                "k1=v1\nk2=v2\n");
    // Every "aa" of the long line is one replacement.
    EXPECT_EQ(After(text, 3 << 17, [](const char *p) { return VELKCFileReplaceSubStr(p, "aa", "b"); }).size(),
              text.size() - (3 << 17));
}

// Lines without the key are passed over in runs straight from the read
// buffer: key lines, and lines that hold the key elsewhere, at every offset
// around the end of the first 64 KiB read.
TEST_F(Writers, KeyLinesAcrossTheReadBufferEnd)
{
    for (std::size_t offset = 65520; offset < 65552; ++offset) {
        const std::string head = "f=" + std::string(offset - 3, 'x') + "\nzk=k\n";
        const std::string text = head + "k=old\nmid=1\n k =dup\nk2=v";
        char value[8] = "";
        WriteFile(Path("conf"), text);
        ASSERT_EQ(VELKCFileGetKeyValue(Path("conf").c_str(), "k", value, sizeof value, 0), 4) << offset;
        ASSERT_STREQ(value, "old");
        ASSERT_EQ(After(text, 1, [](const char *p) { return VELKCFileSetKeyValue(p, "k", "new", nullptr); }),
                  head + "k=new\nmid=1\nk2=v") << offset;
        ASSERT_EQ(After(text, 2, [](const char *p) { return VELKCFileRemoveKey(p, "k"); }), head + "mid=1\nk2=v");
        SzHash *keys = VELKCSzHashAlloc(0);
        SzHash *drop = VELKCSzHashAlloc(0);
        VELKCSzHashSetValue(&keys, "new", "n");
        VELKCSzHashSetValue(&drop, "mid", "");
        ASSERT_EQ(After(text, 1, [&](const char *p) { return VELKCFileSetKeys(p, keys, drop, nullptr); }),
                  head + "k=old\n k =dup\nk2=v\nnew=n\n") << offset;
        VELKCSzHashFree(keys);
        VELKCSzHashFree(drop);
    }
}

TEST_F(Writers, KeysThatArePrefixesOfOtherKeys)
{
    const std::string text = "key1=a\nkey=b\nkey.sub=c\n key = d\n";
    EXPECT_EQ(After(text, 1, [](const char *p) { return VELKCFileSetKeyValue(p, "key", "x", nullptr); }),
              "key1=a\nkey=x\nkey.sub=c\n");
    EXPECT_EQ(After(text, 2, [](const char *p) { return VELKCFileRemoveKey(p, "key"); }), "key1=a\nkey.sub=c\n");
    EXPECT_EQ(After(text, 0, [](const char *p) { return VELKCFileRemoveKey(p, "ke"); }), text);
    EXPECT_EQ(After(text, 0, [](const char *p) { return VELKCFileAppendKey(p, "key1", "x", nullptr); }), text);
    EXPECT_EQ(VELKCErrGet(), ERR_KEY_EXISTS);
    EXPECT_EQ(After(text, 1, [](const char *p) { return VELKCFileAppendKey(p, "ke", "x", nullptr); }), text + "ke=x\n");
}

TEST_F(Writers, NegativeFlagsOfSetLineMatchNoLine)
{
    // The matcher refuses the flags line by line, so no line matches and the
    // file stays as it was; a missing file is still created.
    EXPECT_EQ(After(kBase, 0, [](const char *p) { return VELKCFileSetLine(p, "k1", "x", -1); }), kBase);
    EXPECT_EQ(VELKCErrGet(), ERR_KEY_NOT_FOUND);
    ResetError();
    EXPECT_EQ(VELKCFileSetLine(Path("missing").c_str(), "k1", "x", -1), 1);
    EXPECT_EQ(ReadFile(Path("missing")), "x\n");
}

TEST_F(Writers, UnreadableTargetsFailAndAreNeverNotFound)
{
    // Reading through this link fails at once (EIO). A call that cannot read
    // the file must fail, not report the key as absent.
    const fs::path link = Path("unreadable");
    fs::create_symlink("/proc/self/mem", link);
    char value[16];
    ResetError();
    EXPECT_EQ(VELKCFileGetKeyValue(link.c_str(), "k", value, sizeof value, 0), -1);
    EXPECT_EQ(VELKCErrGet(), ERR_READ_FAILED);
    EXPECT_EQ(VELKCFileCheckKeyValue(link.c_str(), "k", "v", 7), 0);
    for (const auto &call : {+[](const char *p) { return VELKCFileRemoveKey(p, "k"); },
                             +[](const char *p) { return VELKCFileSetKeyValue(p, "k", "v", nullptr); },
                             +[](const char *p) { return VELKCFileReplaceSubStr(p, "a", "b"); }}) {
        ResetError();
        EXPECT_EQ(call(link.c_str()), -1);
        EXPECT_NE(VELKCErrGet(), ERR_KEY_NOT_FOUND);
    }
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"unreadable"});
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(Writers, EmptyPatternCommentsEveryLine)
{
    // An empty pattern stands in every line, a last line of blanks included;
    // lines already commented stay as they are.
    EXPECT_EQ(After("a\n#b\n  ", 1, [](const char *p) { return VELKCFileLineComment(p, "", 0); }), "#a\n#b\n#  ");
}

} // namespace
