// The configuration-file readers on files written here with plain stdio:
// missing final newlines, empty files, CRLF lines, very long lines, keys that
// are prefixes of other keys, missing files, directories and null arguments.
#include <velkc.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

void ClearRecord() { VELKCErrSetEx(0, nullptr, 0); }

void ExpectError(unsigned code, const char *file)
{
    EXPECT_EQ(VELKCErrGet(), code);
    EXPECT_STREQ(VELKCErrorGetFile(), file);
}

class Readers : public ::testing::Test {
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/velkc_readers.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        dir_ = dir;
        list_ = VELKCSzListAlloc(0);
        hash_ = VELKCSzHashAlloc(0);
        ClearRecord();
    }
    void TearDown() override
    {
        VELKCSzListFree(list_);
        VELKCSzHashFree(hash_);
        std::filesystem::remove_all(dir_);
    }

    std::string Write(const char *name, const std::string &content)
    {
        const std::string path = dir_ + "/" + name;
        std::FILE *f = std::fopen(path.c_str(), "w");
        EXPECT_NE(f, nullptr);
        EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), f), content.size());
        std::fclose(f);
        return path;
    }

    // The value of a key, or "" when the reader did not give a size.
    std::string Value(const std::string &path, const char *key, int flags = 0)
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

    std::string Line(const std::string &path, const char *pattern, int flags = 0)
    {
        char buf[64] = {};
        return VELKCFileGetLine(path.c_str(), pattern, buf, sizeof(buf), flags) > 0 ? buf : "";
    }

    std::vector<std::string> Items() const
    {
        return std::vector<std::string>(list_->pszItem, list_->pszItem + list_->nItem);
    }

    std::string Get(const char *key) const
    {
        const char *value = VELKCSzHashGetValue(hash_, key);
        return value != nullptr ? value : "<absent>";
    }

    std::string dir_;
    SzList *list_ = nullptr;
    SzHash *hash_ = nullptr;
};

TEST_F(Readers, KeyValues)
{
    const std::string path =
        Write("kv", "key1=a\nkey=b\nk3===[v3]\nq= \"x y\" \ncr=v\r\n#c=1\n  tab\t=\tt\nlast=z");
    EXPECT_EQ(Value(path, "key"), "b");
    EXPECT_EQ(Value(path, "key1"), "a");
    EXPECT_EQ(Value(path, "k3"), "==[v3]");
    EXPECT_EQ(Value(path, "q"), "x y");
    EXPECT_EQ(Value(path, "cr"), "v");
    EXPECT_EQ(Value(path, "tab"), "t");
    EXPECT_EQ(Value(path, "last"), "z"); // no final newline

    char buf[8];
    ClearRecord();
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "c", buf, sizeof(buf), 0), 0); // only in a comment
    ExpectError(ERR_KEY_NOT_FOUND, "file_get_key_value");
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "ke", buf, sizeof(buf), 0), 0);
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "k3", buf, 6, 0), -1); // "==[v3]" needs 7
    ExpectError(ERR_NOT_ENOUGH_MEMORY, "file_get_key_value");
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "k3", buf, 7, 0), 7);
}

TEST_F(Readers, KeyValueDuplicatesAndEmptyValues)
{
    const std::string path = Write("dup", "k=first\nk=second\ne=\ne=late\n");
    EXPECT_EQ(Value(path, "k"), "first");
    EXPECT_EQ(Value(path, "k", MATCH_FLAG_LAST), "second");
    // An empty value is no value; without MATCH_FLAG_LAST it ends the scan.
    ClearRecord();
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "e", nullptr, 0, 0), 0);
    ExpectError(ERR_KEY_NOT_FOUND, "file_get_key_value");
    EXPECT_EQ(VELKCFileGetKeyValue(path.c_str(), "e", nullptr, 0, MATCH_FLAG_LAST), 5);
}

TEST_F(Readers, Lines)
{
    const std::string path = Write("lines", "abc\r\nabcd\nDef\ndEfBc");
    EXPECT_EQ(Line(path, "abc"), "abc\r"); // only the "\n" is dropped
    EXPECT_EQ(Line(path, "abc", MATCH_FLAG_LAST), "abcd");
    EXPECT_EQ(Line(path, "bc", MATCH_FLAG_SUFFIX | MATCH_FLAG_IGNORE_CASE), "dEfBc");
    EXPECT_EQ(Line(path, "def", MATCH_FLAG_IGNORE_CASE | MATCH_FLAG_LAST), "dEfBc");

    char buf[5];
    ClearRecord();
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
    EXPECT_EQ(VELKCFileGetPair(path.c_str(), &hash_), 2);
    EXPECT_EQ(Get("big").size(), big.size());

    // Pieces of at most 1023 bytes; each line's "\n" ends its last piece.
    ASSERT_EQ(VELKCFileReadLines(path.c_str(), &list_), 0);
    std::string joined;
    for (const std::string &item : Items()) {
        EXPECT_LE(item.size(), 1023u);
        joined += item;
    }
    EXPECT_EQ(joined, "big=" + big + "\nsmall=1\n" + big);
}

TEST_F(Readers, ReadLinesPieces)
{
    const std::string a1022(1022, 'a');
    const std::string a1023(1023, 'a');
    const std::string path = Write("pieces", a1022 + "\n" + a1023 + "\nc\r\nd");
    ASSERT_EQ(VELKCFileReadLines(path.c_str(), &list_), 0);
    EXPECT_EQ(Items(), (std::vector<std::string>{a1022 + "\n", a1023, "\n", "c\r\n", "d"}));
}

TEST_F(Readers, Pairs)
{
    const std::string path = Write("pairs", "k1=v1\n#c=1\n;d=2\nnoeq\n k2 = \"v 2\" \r\nk1=v9\n=x\nk3=a=b");
    EXPECT_EQ(VELKCFileGetPair(path.c_str(), &hash_), 3);
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
    EXPECT_EQ(VELKCFileGetSection(path.c_str(), "Sec", &hash_), 2); // only the first "[Sec]"
    EXPECT_EQ(Get("#c"), "1");
    EXPECT_EQ(Get("k"), "v");
    EXPECT_EQ(Get("y"), "<absent>");
    EXPECT_EQ(VELKCFileGetSection(path.c_str(), "Win", &hash_), 3);
    EXPECT_EQ(Get("w"), "1");

    char buf[4];
    EXPECT_EQ(VELKCFileGetSectionValue(path.c_str(), "a", "x", buf, sizeof(buf)), 0);
    EXPECT_STREQ(buf, "1");
    ClearRecord();
    EXPECT_EQ(VELKCFileGetSectionValue(path.c_str(), "b", "k2", buf, sizeof(buf)), -1); // "[b" is no header
    ExpectError(ERR_SECTION_NOT_FOUND, "file_get_section_value");

    ASSERT_EQ(VELKCFileEnumSection(path.c_str(), &list_), 5);
    EXPECT_EQ(Items(), (std::vector<std::string>{"a", " Sec ", "Sec", "Sec", "Win"}));
}

TEST_F(Readers, EnumSectionHeaderLength)
{
    const std::string name(1020, 'n');
    std::string path = Write("ok", "[a]b]\n[" + name + "]\n"); // 1023 bytes with its "\n"
    ASSERT_EQ(VELKCFileEnumSection(path.c_str(), &list_), 2);
    EXPECT_EQ(Items(), (std::vector<std::string>{"a]b", name}));

    path = Write("long", "[" + name + "n]\n");
    ClearRecord();
    EXPECT_EQ(VELKCFileEnumSection(path.c_str(), &list_), -1);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

TEST_F(Readers, KeysWithSeparatorSets)
{
    const std::string path = Write("keys", "a<1\nb>2\nc=3\n#d=4\ne\nab=5\nc=33\n");
    EXPECT_EQ(VELKCFileGetKeys(path.c_str(), nullptr, &hash_, "<>="), 4); // later lines win
    EXPECT_EQ(Get("c"), "33");
    EXPECT_EQ(Get("#d"), "<absent>");

    VELKCHashRemoveAll(hash_);
    for (const char *key : {"c", "e", "a", "zz"}) {
        VELKCSzListPush(&list_, key);
    }
    EXPECT_EQ(VELKCFileGetKeys(path.c_str(), list_, &hash_, "<>="), 2); // first lines win
    EXPECT_EQ(Get("c"), "3");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(Get("ab"), "<absent>");
    EXPECT_EQ(list_->nItem, 4);
}

TEST_F(Readers, CheckKeyValue)
{
    const std::string path = Write("check", "k=Value\nkey=\"v\"\n");
    EXPECT_EQ(VELKCFileCheckKeyValue(path.c_str(), "k", "value", 0), 1);
    EXPECT_EQ(VELKCFileCheckKeyValue(path.c_str(), "k", "Valu", 1), 0);
    EXPECT_EQ(VELKCFileCheckKeyValue(path.c_str(), "key", "v", 0), 1);
    EXPECT_EQ(VELKCFileCheckKeyValue(path.c_str(), "ke", "v", 7), 7);
}

TEST_F(Readers, EmptyFile)
{
    const std::string path = Write("empty", "");
    const char *p = path.c_str();
    char buf[8];
    EXPECT_EQ(VELKCFileGetKeyValue(p, "k", buf, sizeof(buf), 0), 0);
    EXPECT_EQ(VELKCFileGetLine(p, "", buf, sizeof(buf), 0), 0);
    EXPECT_EQ(VELKCFileGetPair(p, &hash_), 0);
    EXPECT_EQ(VELKCFileGetSection(p, "s", &hash_), 0);
    EXPECT_EQ(VELKCFileGetSectionValue(p, "s", "k", buf, sizeof(buf)), -1);
    EXPECT_EQ(VELKCFileEnumSection(p, &list_), 0);
    EXPECT_EQ(VELKCFileGetKeys(p, nullptr, &hash_, "="), 0);
    EXPECT_EQ(VELKCFileReadLines(p, &list_), 0);
    EXPECT_EQ(list_->nItem, 0);
    EXPECT_EQ(VELKCFileCheckKeyValue(p, "k", "v", 5), 5);
}

// Every reader on a path it cannot read: a missing file and a directory.
TEST_F(Readers, MissingFileAndDirectory)
{
    struct Reader {
        const char *source;
        std::function<int(const char *)> call;
        int failure;
        unsigned code;
    };
    char buf[8];
    const Reader readers[] = {
        {"file_get_key_value", [&](const char *p) { return VELKCFileGetKeyValue(p, "k", buf, 8, 0); }, -1,
         ERR_OPEN_FAILED},
        {"file_get_line", [&](const char *p) { return VELKCFileGetLine(p, "k", buf, 8, 0); }, -1, ERR_OPEN_FAILED},
        {"file_get_pair", [&](const char *p) { return VELKCFileGetPair(p, &hash_); }, -1, ERR_OPEN_FAILED},
        {"file_get_section", [&](const char *p) { return VELKCFileGetSection(p, "s", &hash_); }, -1,
         ERR_OPEN_FAILED},
        {"file_enum_section", [&](const char *p) { return VELKCFileEnumSection(p, &list_); }, -1,
         ERR_OPEN_FAILED},
        {"file_get_keys", [&](const char *p) { return VELKCFileGetKeys(p, nullptr, &hash_, "="); }, -1,
         ERR_OPEN_FAILED},
        {"file_read_lines", [&](const char *p) { return VELKCFileReadLines(p, &list_); }, -1, ERR_OPEN_FAILED},
        // It answers 0, not its default, and leaves the inner reader's error.
        {"file_get_key_value", [&](const char *p) { return VELKCFileCheckKeyValue(p, "k", "v", 1); }, 0,
         ERR_OPEN_FAILED},
    };
    const std::string missing = dir_ + "/missing";
    for (const Reader &r : readers) {
        for (const std::string &path : {missing, dir_}) {
            ClearRecord();
            EXPECT_EQ(r.call(path.c_str()), r.failure) << r.source << " " << path;
            ExpectError(r.code, r.source);
        }
    }
    // A missing file has no sections; a directory cannot be looked into.
    ClearRecord();
    EXPECT_EQ(VELKCFileGetSectionValue(missing.c_str(), "s", "k", buf, 8), -1);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_get_section_value");
    EXPECT_EQ(VELKCFileGetSectionValue(dir_.c_str(), "s", "k", buf, 8), -1);
    ExpectError(ERR_OPEN_FAILED, "file_get_section");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(Readers, NullArguments)
{
    const std::string file = Write("f", "k=v\n");
    const char *p = file.c_str();
    char buf[8];
    SzList *noList = nullptr;
    SzHash *noHash = nullptr;
    const std::pair<const char *, std::function<int()>> calls[] = {
        {"file_get_key_value", [&] { return VELKCFileGetKeyValue(nullptr, "k", buf, 8, 0); }},
        {"file_get_key_value", [&] { return VELKCFileGetKeyValue(p, nullptr, buf, 8, 0); }},
        {"file_get_key_value", [&] { return VELKCFileGetKeyValue(p, "k", nullptr, 8, 0); }},
        {"file_get_key_value", [&] { return VELKCFileGetKeyValue(p, "k", buf, 8, -1); }},
        {"file_get_line", [&] { return VELKCFileGetLine(nullptr, "k", buf, 8, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, nullptr, buf, 8, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, "k", nullptr, 8, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, "k", buf, 0, 0); }},
        {"file_get_line", [&] { return VELKCFileGetLine(p, "k", buf, 8, -1); }},
        {"file_get_pair", [&] { return VELKCFileGetPair(nullptr, &hash_); }},
        {"file_get_pair", [&] { return VELKCFileGetPair(p, nullptr); }},
        {"file_get_pair", [&] { return VELKCFileGetPair(p, &noHash); }},
        {"file_get_section", [&] { return VELKCFileGetSection(nullptr, "s", &hash_); }},
        {"file_get_section", [&] { return VELKCFileGetSection(p, nullptr, &hash_); }},
        {"file_get_section", [&] { return VELKCFileGetSection(p, "s", nullptr); }},
        {"file_get_section", [&] { return VELKCFileGetSection(p, "s", &noHash); }},
        {"file_get_section_value", [&] { return VELKCFileGetSectionValue(nullptr, "s", "k", buf, 8); }},
        {"file_get_section_value", [&] { return VELKCFileGetSectionValue(p, nullptr, "k", buf, 8); }},
        {"file_get_section_value", [&] { return VELKCFileGetSectionValue(p, "s", nullptr, buf, 8); }},
        {"file_get_section_value", [&] { return VELKCFileGetSectionValue(p, "s", "k", nullptr, 8); }},
        {"file_get_section_value", [&] { return VELKCFileGetSectionValue(p, "s", "k", buf, 0); }},
        {"file_enum_section", [&] { return VELKCFileEnumSection(nullptr, &list_); }},
        {"file_enum_section", [&] { return VELKCFileEnumSection(p, nullptr); }},
        {"file_enum_section", [&] { return VELKCFileEnumSection(p, &noList); }},
        {"file_get_keys", [&] { return VELKCFileGetKeys(nullptr, nullptr, &hash_, "="); }},
        {"file_get_keys", [&] { return VELKCFileGetKeys(p, nullptr, nullptr, "="); }},
        {"file_get_keys", [&] { return VELKCFileGetKeys(p, nullptr, &noHash, "="); }},
        {"file_get_keys", [&] { return VELKCFileGetKeys(p, nullptr, &hash_, nullptr); }},
        {"file_read_lines", [&] { return VELKCFileReadLines(nullptr, &list_); }},
        {"file_read_lines", [&] { return VELKCFileReadLines(p, nullptr); }},
        {"file_read_lines", [&] { return VELKCFileReadLines(p, &noList); }},
    };
    for (const auto &[source, call] : calls) {
        ClearRecord();
        EXPECT_EQ(call(), -1) << source;
        ExpectError(ERR_BAD_PARAMETERS, source);
    }
    for (const auto &call : std::initializer_list<std::function<int()>>{
             [&] { return VELKCFileCheckKeyValue(nullptr, "k", "v", 1); },
             [&] { return VELKCFileCheckKeyValue(p, nullptr, "v", 1); },
             [&] { return VELKCFileCheckKeyValue(p, "k", nullptr, 1); }}) {
        ClearRecord();
        EXPECT_EQ(call(), 0);
        ExpectError(ERR_BAD_PARAMETERS, "file_check_key_value");
    }
    EXPECT_EQ(hash_->nPair, 0);
    EXPECT_EQ(list_->nItem, 0);
}

} // namespace
