// The configuration-file readers on files as users have them: missing final
// newlines, empty files, CRLF lines, very long lines, keys that are prefixes
// of other keys, missing files and directories.
#include "file_support.hpp"

#include <map>
#include <vector>

using namespace test;

namespace {

class Readers : public ScratchTest {
protected:
    void SetUp() override { ResetError(); }

    std::string Write(const char *name, const std::string &content)
    {
        WriteFile(Path(name), content);
        return Path(name);
    }

    // The value of a key, or "" when the reader did not give a size.
    static std::string Value(const std::string &path, const char *key, int flags = 0)
    {
        const int size = VELKCFileGetKeyValue(path.c_str(), key, nullptr, 0, flags);
        if (size <= 0) {
            return "";
        }
        std::string value(static_cast<size_t>(size), '\0');
        EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), key, value.data(), size, flags), size);
        value.pop_back();
        return value;
    }

    static std::string Line(const std::string &path, const char *pattern, int flags = 0)
    {
        char buf[64] = {};
        return VELKCFileGetLine(path.c_str(), pattern, buf, sizeof(buf), flags) > 0 ? buf : "";
    }

    std::vector<std::string> Items() const { return {list_->pszItem, list_->pszItem + list_->nItem}; }

    std::string Get(const char *key) const
    {
        const char *value = VELKCSzHashGetValue(hash_.get(), key);
        return value != nullptr ? value : "<absent>";
    }

    velkc::List list_{VELKCSzListAlloc(0)};
    velkc::Hash hash_{VELKCSzHashAlloc(0)};
};

TEST_F(Readers, KeyValues)
{
    const std::string path = Write(
        "kv",
        "key1=a\nkey=b\nk3===[v3]\nq= \"x y\" \ncr=v\r\n#c=1\n  tab\t=\tt\nk=first\nk=second\ne=\ne=late\nlast=z");
    EXPECT_EQ(Value(path, "key"), "b");
    EXPECT_EQ(Value(path, "key1"), "a");
    EXPECT_EQ(Value(path, "k3"), "==[v3]");
    EXPECT_EQ(Value(path, "q"), "x y");
    EXPECT_EQ(Value(path, "cr"), "v");
    EXPECT_EQ(Value(path, "tab"), "t");
    EXPECT_EQ(Value(path, "last"), "z"); // no final newline
    EXPECT_EQ(Value(path, "k"), "first");
    EXPECT_EQ(Value(path, "k", MATCH_FLAG_LAST), "second");
    // An empty value is no value; without MATCH_FLAG_LAST it ends the scan.
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "e", nullptr, 0, 0), 0);
    ExpectError(ERR_KEY_NOT_FOUND, "file_get_key_value");
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "e", nullptr, 0, MATCH_FLAG_LAST), 5);

    char buf[8];
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "c", buf, sizeof(buf), 0), 0); // only in a comment
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "ke", buf, sizeof(buf), 0), 0);
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "k3", buf, 6, 0), -1); // "==[v3]" needs 7
    ExpectError(ERR_NOT_ENOUGH_MEMORY, "file_get_key_value");
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "k3", buf, 7, 0), 7);
}

TEST_F(Readers, Lines)
{
    const std::string path = Write("lines", "abc\r\nabcd\nDef\ndEfBc");
    EXPECT_EQ(Line(path, "abc"), "abc\r"); // only the "\n" is dropped
    EXPECT_EQ(Line(path, "abc", MATCH_FLAG_LAST), "abcd");
    EXPECT_EQ(Line(path, "bc", MATCH_FLAG_SUFFIX | MATCH_FLAG_IGNORE_CASE), "dEfBc");
    EXPECT_EQ(Line(path, "def", MATCH_FLAG_IGNORE_CASE | MATCH_FLAG_LAST), "dEfBc");

    char buf[5];
    EXPECT_EQ(VELKCFileGetLine(path.c_str(), "dEf", buf, sizeof(buf), 0), -1);
    ExpectError(ERR_NOT_ENOUGH_MEMORY, "file_get_line");
    EXPECT_EQ(VELKCFileGetLine(path.c_str(), "z", buf, sizeof(buf), 0), 0);
    ExpectError(ERR_KEY_NOT_FOUND, "file_get_line");
}

TEST_F(Readers, VeryLongLines)
{
    // "big=" and the "\n" make the first line exactly as long as allowed.
    const std::string big(VELKC_FILE_MAX_LINE - 5, 'x');
    const std::string path = Write("big", "big=" + big + "\nsmall=1\n" + big);
    EXPECT_EQ(Value(path, "big"), big);
    EXPECT_EQ(Value(path, "small"), "1");
    EXPECT_EQ(Line(path, "small"), "small=1");
    EXPECT_EQ(VELKCFileGetPair(path.c_str(), hash_.address()), 2);
    EXPECT_EQ(Get("big").size(), big.size());

    // Pieces of at most 1023 bytes; each line's "\n" ends its last piece.
    ASSERT_EQ(VELKCFileReadLines(path.c_str(), list_.address()), 0);
    std::string joined;
    for (const std::string &item : Items()) {
        EXPECT_LE(item.size(), 1023u);
        joined += item;
    }
    EXPECT_EQ(joined, "big=" + big + "\nsmall=1\n" + big);

    const std::string a1022(1022, 'a');
    const std::string a1023(1023, 'a');
    VELKCSzListRemoveAll(list_.get());
    ASSERT_EQ(VELKCFileReadLines(Write("pieces", a1022 + "\n" + a1023 + "\nc\r\nd").c_str(), list_.address()), 0);
    EXPECT_EQ(Items(), (std::vector<std::string>{a1022 + "\n", a1023, "\n", "c\r\n", "d"}));
}

TEST_F(Readers, Pairs)
{
    const std::string path = Write("pairs", "k1=v1\n#c=1\n;d=2\nnoeq\n k2 = \"v 2\" \r\nk1=v9\n=x\nk3=a=b");
    EXPECT_EQ(VELKCFileGetPair(path.c_str(), hash_.address()), 3);
    EXPECT_EQ(Get("k1"), "v9");
    EXPECT_EQ(Get("k2"), "v 2");
    EXPECT_EQ(Get("k3"), "a=b");
    // The lines that do not split leave the splitter's error behind.
    ExpectError(ERR_BAD_PARAMETERS, "string_sep_pair");
}

TEST_F(Readers, Sections)
{
    const std::string path = Write("sec", "[a]\nx=1\n[ Sec ]\ny=1\n[Sec]  \n#c=1\nk=v\n\n[b\nk2=v2\n[Sec]\nk3=v3\n"
                                          "[Win]\r\nw=1\r\n");
    EXPECT_EQ(VELKCFileGetSection(path.c_str(), "Sec", hash_.address()), 2); // only the first "[Sec]"
    EXPECT_EQ(Get("#c"), "1");
    EXPECT_EQ(Get("k"), "v");
    EXPECT_EQ(Get("y"), "<absent>");
    EXPECT_EQ(VELKCFileGetSection(path.c_str(), "Win", hash_.address()), 3);
    EXPECT_EQ(Get("w"), "1");

    char buf[4];
    EXPECT_EQ(VELKCFileGetSectionValue(path.c_str(), "a", "x", buf, sizeof(buf)), 0);
    EXPECT_STREQ(buf, "1");
    EXPECT_EQ(VELKCFileGetSectionValue(path.c_str(), "b", "k2", buf, sizeof(buf)), -1); // "[b" is no header
    ExpectError(ERR_SECTION_NOT_FOUND, "file_get_section_value");

    ASSERT_EQ(VELKCFileEnumSection(path.c_str(), list_.address()), 5);
    EXPECT_EQ(Items(), (std::vector<std::string>{"a", " Sec ", "Sec", "Sec", "Win"}));

    // A header of 1023 bytes with its "\n" is the longest there is.
    const std::string name(1020, 'n');
    VELKCSzListRemoveAll(list_.get());
    ASSERT_EQ(VELKCFileEnumSection(Write("ok", "[a]b]\n[" + name + "]\n").c_str(), list_.address()), 2);
    EXPECT_EQ(Items(), (std::vector<std::string>{"a]b", name}));
    ResetError();
    EXPECT_EQ(VELKCFileEnumSection(Write("long", "[" + name + "n]\n").c_str(), list_.address()), -1);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

TEST_F(Readers, KeysWithSeparatorSets)
{
    const std::string path = Write("keys", "a<1\nb>2\nc=3\n#d=4\ne\nab=5\nc=33\n");
    EXPECT_EQ(VELKCFileGetKeys(path.c_str(), nullptr, hash_.address(), "<>="), 4); // later lines win
    EXPECT_EQ(Get("c"), "33");
    EXPECT_EQ(Get("#d"), "<absent>");

    VELKCHashRemoveAll(hash_.get());
    for (const char *key : {"c", "e", "a", "zz"}) {
        VELKCSzListPush(list_.address(), key);
    }
    EXPECT_EQ(VELKCFileGetKeys(path.c_str(), list_.get(), hash_.address(), "<>="), 2); // first lines win
    EXPECT_EQ(Get("c"), "3");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(Get("ab"), "<absent>");
    EXPECT_EQ(list_->nItem, 4);
}

TEST_F(Readers, EmptyFileHoldsNothing)
{
    // Not even the section; the check gives its default and the readers into
    // a container the count it already held.
    const std::map<std::string, int> notZero = {{"GetSectionValue", -1}, {"CheckKeyValue", 7}, {"GetPair", 1},
                                                {"GetSection", 1},       {"GetKeys", 1},       {"EnumSection", 1}};
    const std::string path = Write("empty", "");
    for (const Reader &reader : AllReaders()) {
        Args args;
        EXPECT_EQ(reader.call(path.c_str(), args), notZero.contains(reader.name) ? notZero.at(reader.name) : 0)
            << reader.name;
    }
}

TEST_F(Readers, MissingFileAndDirectoryFailToOpen)
{
    const fs::path missing = Path("missing");
    for (const Reader &reader : AllReaders()) {
        for (const fs::path &path : {missing, dir_}) {
            SCOPED_TRACE(std::string(reader.name) + " on " + path.string());
            Args args;
            ResetError();
            EXPECT_EQ(reader.call(path.c_str(), args), reader.failure);
            // A missing file has no sections.
            const bool noSection = path == missing && reader.name == std::string("GetSectionValue");
            EXPECT_EQ(VELKCErrGet(), noSection ? ERR_SECTION_NOT_FOUND : ERR_OPEN_FAILED);
        }
    }
    EXPECT_FALSE(fs::exists(missing));
}

// Reading through this link fails at once (EIO): a read error, where the
// fault injection takes an open error too.
TEST_F(Readers, UnreadableFileIsAReadError)
{
    fs::create_symlink("/proc/self/mem", Path("unreadable"));
    char value[16];
    EXPECT_EQ(VELKCFileGetKeyValue(Path("unreadable").c_str(), "k", value, sizeof value, 0), -1);
    ExpectError(ERR_READ_FAILED, "file_get_key_value");
}

// The null arguments that the FILE suite does not try.
TEST_F(Readers, NullArguments)
{
    const std::string path = Write("f", kBase);
    const char *p = path.c_str();
    char buf[8];
    SzList *noList = nullptr;
    SzHash *noHash = nullptr;
    const std::pair<const char *, std::function<int()>> calls[] = {
        {"file_get_line", [&] { return VELKCFileGetLine(nullptr, "k", buf, 8, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, "k", nullptr, 8, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, "k", buf, 0, 0); }},
        {"file_get_pair", [&] { return VELKCFileGetPair(p, &noHash); }},
        {"file_get_section", [&] { return VELKCFileGetSection(p, "s", &noHash); }},
        {"file_enum_section", [&] { return VELKCFileEnumSection(p, &noList); }},
    };
    for (const auto &[source, call] : calls) {
        ResetError();
        EXPECT_EQ(call(), -1) << source;
        ExpectError(ERR_BAD_PARAMETERS, source);
    }
    EXPECT_EQ(hash_->nPair, 0);
    EXPECT_EQ(list_->nItem, 0);
}

} // namespace
