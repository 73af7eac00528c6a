// The line model: line, key, token-list and section matching, and the
// key/value format check.
#include "file_support.hpp"

#include <functional>
#include <string>
#include <tuple>

using test::ExpectError;

namespace {

// VELKCILineKeyMatch on a copy; returns the result and leaves the cut copy.
int KeyMatch(const char *line, const char *key, std::string *cut = nullptr)
{
    std::string copy(line);
    const int result = VELKCILineKeyMatch(copy.data(), key);
    if (cut != nullptr) {
        *cut = copy.c_str();
    }
    return result;
}

// Comments, which never match, are checked by the line model's fuzz target.
TEST(LineMatch, PrefixSuffixAnywhereAndCase)
{
    constexpr int kPrefix = MATCH_FLAG_PREFIX;
    constexpr int kSuffix = MATCH_FLAG_SUFFIX;
    constexpr int kCase = MATCH_FLAG_IGNORE_CASE;
    const std::tuple<const char *, const char *, int, int> cases[] = {
        {"abcd\n", "bc", 0, 1},
        {"abcd\n", "", 0, 1},
        {"abcd\n", "ab", kPrefix, 1},
        {"abcd\n", "bc", kPrefix, 0},
        {"  # x\n", "x", 0, 1}, // leading blanks make an ordinary line
        // The suffix ends at the last "\n" or at the end of the text; a "\r"
        // before the newline belongs to the line.
        {"abc\n", "abc", kSuffix, 1},
        {"abc", "bc", kSuffix, 1},
        {"abc\n", "abcd", kSuffix, 0},
        {"abc\r\n", "abc", kSuffix, 0},
        {"abc\r\n", "abc\r", kSuffix, 1},
        // With both bits only the prefix counts.
        {"abcx\n", "abc", kPrefix | kSuffix, 1},
        {"xabc\n", "abc", kPrefix | kSuffix, 0},
        {"dEfBc\n", "bc", kSuffix, 0},
        {"dEfBc\n", "bc", kSuffix | kCase, 1},
        {"Def\n", "dEF", kPrefix | kCase, 1},
        // Upper-casing lengthens "ß" to "SS"; the longer text is still compared.
        {"straße\n", "STRASSE", kSuffix | kCase, 1},
        {"Ölfeld\n", "öl", kPrefix | kCase, 1},
    };
    for (const auto &[line, pattern, flags, want] : cases) {
        EXPECT_EQ(VELKCILineMatch(line, pattern, flags), want) << line << " / " << pattern << " / " << flags;
    }
}

TEST(LineKeyMatch, KeysAreTrimmedAndExact)
{
    std::string cut;
    EXPECT_EQ(KeyMatch(" k = v \n", "k", &cut), 1);
    EXPECT_EQ(cut, " k "); // cut at the first "=", blanks kept
    EXPECT_EQ(KeyMatch("k=v\n", "K"), 0);
    EXPECT_EQ(KeyMatch("key1=v\n", "key"), 0);
    EXPECT_EQ(KeyMatch("key=v\n", "key1"), 0);
    EXPECT_EQ(KeyMatch("k=a=b\n", "k", &cut), 1);
    EXPECT_EQ(cut, "k");
    EXPECT_EQ(KeyMatch("k\r\n", "k"), 1); // no "=" at all: the whole line is the key
    EXPECT_EQ(KeyMatch("\t\"k\" =v\n", "k"), 1);
    EXPECT_EQ(KeyMatch(" #k=v\n", "#k"), 1); // not a comment
    EXPECT_EQ(KeyMatch("#k=v\n", "#k", &cut), 0);
    EXPECT_EQ(cut, "#k=v\n"); // a comment is left whole
    // Empty tokens are skipped: "=v" has the key "v".
    EXPECT_EQ(KeyMatch("=v\n", "v", &cut), 1);
    EXPECT_EQ(cut, "");
    EXPECT_EQ(KeyMatch("===", ""), 0); // only separators: no key at all
}

// VELKCFileMatch with a list of items.
int Match(const char *line, std::initializer_list<const char *> items, const char *seps = "=\n")
{
    velkc::List list(VELKCSzListAlloc(0));
    for (const char *item : items) {
        VELKCSzListPush(list.address(), item);
    }
    return VELKCFileMatch(line, list.get(), seps);
}

TEST(FileMatch, TokensFromTheStart)
{
    EXPECT_EQ(Match("k1=v1\n", {"k1", "v1"}), 1);
    EXPECT_EQ(Match("k1=v1\n", {"k1", "v2"}), 0);
    EXPECT_EQ(Match("k1=v1\n", {"", "v1"}), 1); // wildcard
    EXPECT_EQ(Match("k1=v1\n", {"k1"}), 1);     // more tokens than items
    EXPECT_EQ(Match("k1=v1\n", {"k1", "v1", "x"}), 0);
    EXPECT_EQ(Match("k1\n", {"k"}), 0);
    EXPECT_EQ(Match("3:4\n", {"3", "4"}, ":\n"), 1);
    EXPECT_EQ(Match("==k1==v1\n", {"k1", "v1"}), 1); // empty tokens skipped
    EXPECT_EQ(Match("#k1=v1\n", {"#k1"}), 0);
    EXPECT_EQ(Match("#k1=v1\n", {}), 1); // a comment matches only the empty pattern
}

TEST(Section, Headers)
{
    struct Case {
        const char *line;
        int isSection;
        int matchesSec;
    };
    const Case cases[] = {
        {"[sec]  \n", 1, 1}, {"[sec]\r\n", 1, 1}, {"[sec]\t\v\f", 1, 1}, {"[sec] x\n", 0, 0},
        {"[ sec ]\n", 1, 0}, {"[sec\n", 0, 0},    {" [sec]\n", 0, 0},    {"[Sec]\n", 1, 0},
        {"[secx]\n", 1, 0},  {"[se]c]\n", 1, 0},  {"[]\n", 1, 0},        {"[\n", 0, 0},
    };
    for (const Case &c : cases) {
        const int len = static_cast<int>(std::char_traits<char>::length(c.line));
        EXPECT_EQ(VELKCIFileIsSection(c.line, len), c.isSection) << c.line;
        EXPECT_EQ(VELKCIFileMatchSection(c.line, len, "sec"), c.matchesSec) << c.line;
    }
    // Only len bytes are looked at.
    EXPECT_EQ(VELKCIFileIsSection("[sec]xyz", 5), 1);
    EXPECT_EQ(VELKCIFileMatchSection("[sec]xyz", 5, "sec"), 1);
    EXPECT_EQ(VELKCIFileIsSection(nullptr, 5), 0);
}

TEST(LineModel, BadArguments)
{
    char line[] = "k=v";
    const std::tuple<const char *, std::function<int()>, int> calls[] = {
        {"file_line_match", [] { return VELKCILineMatch(nullptr, "a", 0); }, 0},
        {"file_line_match", [] { return VELKCILineMatch("a", nullptr, 0); }, 0},
        {"file_line_match", [] { return VELKCILineMatch("a", "a", -1); }, 0},
        {"file_line_key_match", [] { return VELKCILineKeyMatch(nullptr, "k"); }, 0},
        {"file_line_key_match", [&] { return VELKCILineKeyMatch(line, nullptr); }, 0},
        {"file_match", [] { return VELKCFileMatch(nullptr, nullptr, "="); }, -1},
        {"file_match", [] { return VELKCFileMatch("a", nullptr, nullptr); }, -1},
        {"file_match_section", [] { return VELKCIFileMatchSection(nullptr, 5, "sec"); }, -1},
        {"file_match_section", [] { return VELKCIFileMatchSection("[sec]", 5, nullptr); }, -1},
    };
    for (const auto &[source, call, failure] : calls) {
        VELKCErrSetEx(0, nullptr, 0);
        EXPECT_EQ(call(), failure) << source;
        ExpectError(ERR_BAD_PARAMETERS, source);
    }
}

TEST(CheckFormat, ElementsInOrder)
{
    for (const char *format : {"%s=%s\n", "%s=\"%s\"\n", "%s===[%s]\n", "# %s = %s ;\n"}) {
        EXPECT_EQ(VELKCIFileCheckFormat(format), 1) << format;
    }
    EXPECT_EQ(VELKCIFileCheckFormat(nullptr), 1);

    // The record's line numbers the first missing element.
    struct Case {
        const char *format;
        int missing;
    };
    for (const Case c : {Case{"", 1}, Case{"=%s\n", 2}, Case{"%s\n", 2}, Case{"%s=\n", 3}, Case{"%s=%s", 4},
                         Case{"%s<%s\n", 2}, Case{"%s\n=%s", 4}}) {
        VELKCErrSetEx(0, nullptr, 0);
        EXPECT_EQ(VELKCIFileCheckFormat(c.format), 0) << c.format;
        ExpectError(ERR_FORMAT_ERROR, "file_check_format");
        EXPECT_EQ(VELKCErrorGetLine(), c.missing) << c.format;
    }
}

} // namespace
