// Byte-string functions: round trips on random input and buffer bounds,
// checked against simple models built on std::string and libc.
#include <velkc.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::mt19937 &Rng()
{
    static std::mt19937 rng(20240607);
    return rng;
}

// A random text over `alphabet`, 0 to maxLen bytes.
std::string RandomText(const std::string &alphabet, std::size_t maxLen)
{
    std::uniform_int_distribution<std::size_t> len(0, maxLen), pick(0, alphabet.size() - 1);
    std::string text(len(Rng()), '\0');
    for (char &c : text) {
        c = alphabet[pick(Rng())];
    }
    return text;
}

// Every non-NUL byte, with the escape-relevant ones over-represented.
std::string AllBytes()
{
    std::string bytes = ":;:;:;";
    for (int b = 1; b < 256; ++b) {
        bytes += static_cast<char>(b);
    }
    return bytes;
}

std::string EncodeModel(const std::string &s)
{
    std::string out;
    for (char c : s) {
        out += c == ':' ? ";," : c == ';' ? ";;" : std::string(1, c);
    }
    return out;
}

TEST(ColonEscape, RoundTripAtTheExactBound)
{
    const std::string alphabet = AllBytes();
    for (int round = 0; round < 500; ++round) {
        const std::string text = RandomText(alphabet, 64);
        const std::string encoded = EncodeModel(text);
        const int cb = static_cast<int>(encoded.size());
        // A declared size of exactly the encoded length fits; the terminator
        // takes the one extra byte. Heap buffers let the sanitizer see overruns.
        std::vector<char> enc(encoded.size() + 1), dec(encoded.size() + 1);
        ASSERT_EQ(VELKCStrEncodeColon(text.c_str(), enc.data(), cb), cb) << text;
        ASSERT_EQ(std::string(enc.data()), encoded);
        ASSERT_EQ(VELKCStrDecodeColon(enc.data(), dec.data(), cb), static_cast<int>(text.size()));
        ASSERT_EQ(std::string(dec.data()), text);
        if (cb > 0) {
            EXPECT_EQ(VELKCStrDecodeColon(enc.data(), dec.data(), cb - 1), -1);
            EXPECT_EQ(VELKCErrGet(), unsigned{ERR_NOT_ENOUGH_MEMORY});
            EXPECT_EQ(VELKCStrEncodeColon(text.c_str(), enc.data(), cb - 1), -1);
            EXPECT_EQ(VELKCErrGet(), unsigned{ERR_NOT_ENOUGH_MEMORY});
        }
    }
}

// An escape with nothing after it ends the text (the STRING suite checks
// an unknown one).
TEST(ColonEscape, DecodeStopsAtADanglingEscape)
{
    char out[16];
    EXPECT_EQ(VELKCStrDecodeColon("ab;", out, 15), 2);
    EXPECT_STREQ(out, "ab");
}

// What the trimming functions should give: the set stripped from both ends,
// then, for VELKCStrTrimSpace, one pair of enclosing quotes.
std::string TrimModel(const std::string &s, const std::string &set, bool unquote)
{
    const std::size_t first = s.find_first_not_of(set);
    if (first == std::string::npos) {
        return "";
    }
    std::string t = s.substr(first, s.find_last_not_of(set) - first + 1);
    if (unquote && t.size() >= 2 && t.front() == '"' && t.back() == '"') {
        t = t.substr(1, t.size() - 2);
    }
    return t;
}

TEST(Trim, RandomInputMatchesModelInPlaceAndIntoABuffer)
{
    // Vertical tab and form feed are not whitespace here.
    const std::string alphabet = "ab \t\n\r\v\f\"";
    for (int round = 0; round < 2000; ++round) {
        const std::string text = RandomText(alphabet, 12);
        for (bool unquote : {false, true}) {
            const std::string want = TrimModel(text, " \t\n\r", unquote);
            std::vector<char> in(text.begin(), text.end());
            in.push_back('\0');
            std::vector<char> out(text.size() + 1, 'x');
            auto trim = [&](char *input, char *output) {
                return unquote ? VELKCStrTrimSpace(input, output) : VELKCStrTrim(input, output, nullptr);
            };
            ASSERT_EQ(trim(in.data(), out.data()), static_cast<int>(want.size())) << '[' << text << ']';
            ASSERT_EQ(std::string(out.data()), want);
            ASSERT_EQ(trim(in.data(), nullptr), static_cast<int>(want.size()));
            ASSERT_EQ(std::string(in.data()), want);
        }
    }
}

// Output inside the text is refused (the STRING suite checks that); just
// past its terminator or before it, even overlapping, is not.
TEST(Trim, OutputBeforeOrAfterTheTextIsAllowed)
{
    char buf[16] = {};
    char *in = buf + 5;
    std::strcpy(in, " ab ");
    EXPECT_EQ(VELKCStrTrim(in, in + 5, nullptr), 2);
    EXPECT_STREQ(in + 5, "ab");
    EXPECT_EQ(VELKCStrTrim(in, in - 2, nullptr), 2);
    EXPECT_STREQ(in - 2, "ab");
}

TEST(Join, ReusesALargeBufferAndGrowsASmallOne)
{
    const char *items[] = {"alpha", "beta"};
    char **rgsz = const_cast<char **>(items);

    int cb = 64;
    char *out = static_cast<char *>(std::malloc(static_cast<std::size_t>(cb)));
    std::memset(out, 'x', static_cast<std::size_t>(cb));
    char *const before = out;
    ASSERT_EQ(VELKCStrJoin(rgsz, 2, "<->", &out, &cb), 0);
    EXPECT_EQ(out, before);
    EXPECT_EQ(cb, 64);
    EXPECT_STREQ(out, "alpha<->beta");
    EXPECT_EQ(out[63], '\0'); // the whole buffer is cleared first

    cb = 4;
    ASSERT_EQ(VELKCStrJoin(rgsz, 2, "/", &out, &cb), 0);
    EXPECT_GT(cb, 10);
    EXPECT_STREQ(out, "alpha/beta");
    std::free(out);
}

// StrSep gives what strsep gives, StrTok what VELKCStrTokIndex gives, in the
// same list blocks: separator runs, both ends, high bytes and empty sets.
TEST(SepTok, RandomInputMatchesStrsepAndTokIndex)
{
    using Step = char *(*)(char **, const char *);
    using Split = int (*)(const char *, const char *, SzList **);
    const std::string alphabet = "ab,,;;\x80";
    for (int round = 0; round < 1000; ++round) {
        const std::string text = RandomText(alphabet, 40);
        for (const char *sep : {"", ",", ",;", ";\x80"}) {
            for (auto [split, step] : {std::pair<Split, Step>{VELKCStrSep, strsep}, {VELKCStrTok, VELKCStrTokIndex}}) {
                SzList *want = VELKCSzListAlloc(0);
                std::string copy = text;
                char *cursor = copy.data();
                while (const char *token = step(&cursor, sep)) {
                    ASSERT_GE(VELKCSzListPush(&want, token), 0);
                }
                SzList *got = VELKCSzListAlloc(0);
                ASSERT_EQ(split(text.c_str(), sep, &got), want->nItem) << '[' << text << "] at [" << sep << ']';
                ASSERT_EQ(got->cbSize, want->cbSize);
                for (int i = 0; i < want->nItem; ++i) {
                    ASSERT_STREQ(got->pszItem[i], want->pszItem[i]);
                }
                VELKCSzListFree(got);
                VELKCSzListFree(want);
            }
        }
    }
}

TEST(SepPair, ValueKeepsFurtherEqualsAndLosesOneQuotePair)
{
    SzList *list = VELKCSzListAlloc(0);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(VELKCStrSepPair(" \"key\" = \"a=b \" ", &list), 0);
    EXPECT_EQ(VELKCStrSepPair("k=", &list), 0);
    ASSERT_EQ(list->nItem, 4);
    EXPECT_STREQ(list->pszItem[0], "key");
    EXPECT_STREQ(list->pszItem[1], "a=b ");
    EXPECT_STREQ(list->pszItem[2], "k");
    EXPECT_STREQ(list->pszItem[3], "");
    EXPECT_EQ(VELKCStrSepPair("no pair", &list), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(list->nItem, 4);
    VELKCSzListFree(list);
}

} // namespace
