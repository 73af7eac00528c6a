// Unicode helpers on non-ASCII text, checked exhaustively against ICU
// where the input space allows it.
#include "unicode/unicode_utf8_check.hpp"
#include "unicode_reference.hpp"

#include <velkc.h>
#include <velkc/unicode_icu.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <unicode/ustring.h>
#include <vector>

namespace {

using test::ConverterTakes;
using test::ReferenceCaseCmp;
using test::UpperUtf16;

std::string Upper(const char *src)
{
    char buf[256];
    const int n = VELKCUnicodeUTF8StrUpper(src, buf, sizeof buf);
    EXPECT_GE(n, 0);
    EXPECT_LT(n, int(sizeof buf));
    return buf;
}

TEST(Unicode, UpperUsesFullCaseMapping)
{
    EXPECT_EQ(Upper("straße"), "STRASSE");
    EXPECT_EQ(Upper("σίσυφος"), "ΣΊΣΥΦΟΣ");
    EXPECT_EQ(Upper("ığüşöç"), "IĞÜŞÖÇ"); // root locale: dotless i becomes I
    EXPECT_EQ(Upper("i"), "I");
}

// Each U+0390 maps to three code units: the mapping has to grow its buffer.
TEST(Unicode, UpperGrowsWhenMappingExpands)
{
    std::string src;
    std::string want;
    for (int i = 0; i < 40; ++i) {
        src += "\u0390";
        want += "\u0399\u0308\u0301";
    }
    EXPECT_EQ(Upper(src.c_str()), want);

    const UChar one[] = {0x0390, 0};
    auto *dst = static_cast<UChar *>(std::malloc(sizeof(UChar)));
    ASSERT_EQ(VELKCUnicodeIUTF16StrUpper(one, &dst, 1), 3);
    EXPECT_EQ(dst[0], 0x0399);
    EXPECT_EQ(dst[3], 0);
    std::free(dst);
}

TEST(Unicode, UpperReportsLengthWhenItDoesNotFit)
{
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("straße", nullptr, 0), 7);
    char buf[7] = "xxxxxx";
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("straße", buf, sizeof buf), 7);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("", nullptr, 0), 0);
}

TEST(Unicode, UpperRejectsBadArgumentsAndBadText)
{
    char buf[8];
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper(nullptr, buf, 8), -1);
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("a", nullptr, 8), -1);
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("a", buf, -1), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(VELKCUnicodeUTF8StrUpper("bad \xff text", buf, 8), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_UNICODE_FAILED});
}

TEST(Unicode, CaseCmpIgnoresCaseBeyondAsciiAndOrdersByCollation)
{
    const std::tuple<const char *, const char *, int> cases[] = {
        {"abc", "ABC", 0},    {"Straße", "STRASSE", 0}, {"ÜBER", "über", 0},   {"ΣΊΣΥΦΟΣ", "σίσυφος", 0},
        {"ı", "I", 0},        {"äpfel", "Birne", -1},   {"Birne", "äpfel", 1}, {"apfel", "Äpfel", -1},
        {"άλφα", "ΒΗΤΑ", -1},
    };
    for (const auto &[a, b, want] : cases) {
        EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp(a, b), want) << a << " / " << b;
    }
    EXPECT_NE(VELKCUnicodeUTF8StrCaseCmp("i", "İ"), 0); // no Turkish tailoring
}

TEST(Unicode, CaseCmpFailsWithMinusTwo)
{
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp(nullptr, "a"), -2);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("a", "\xc3"), -2);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_UNICODE_FAILED});
}

// Every pair of strings of up to two ASCII characters (controls included):
// the order of their ICU sort keys and the library's answer agree.
TEST(Unicode, CaseCmpOfShortAsciiMatchesTheCollatorExhaustively)
{
    std::vector<std::string> texts{""};
    for (int c = 1; c < 0x80; ++c) {
        texts.emplace_back(1, char(c));
        for (int d = 1; d < 0x80; ++d) {
            texts.push_back({char(c), char(d)});
        }
    }
    std::vector<std::string> keys;
    for (const auto &text : texts) {
        bool ok = false;
        const auto upper = UpperUtf16(text, &ok);
        ASSERT_TRUE(ok);
        uint8_t key[64];
        const int32_t cb =
            ucol_getSortKey(VELKCUnicodeIOpenCollator(), upper.data(), int32_t(upper.size()), key, sizeof key);
        ASSERT_LE(cb, int32_t(sizeof key));
        keys.emplace_back(reinterpret_cast<char *>(key), std::size_t(cb));
    }
    // Sanitizer builds, many times slower, check every seventh pair.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t kStride = 7;
#else
    constexpr std::size_t kStride = 1;
#endif
    for (std::size_t i = 0; i < texts.size(); ++i) {
        for (std::size_t j = i % kStride; j < texts.size(); j += kStride) {
            const int want = keys[i].compare(keys[j]);
            const int got = VELKCUnicodeUTF8StrCaseCmp(texts[i].c_str(), texts[j].c_str());
            if (got != (want > 0) - (want < 0)) {
                FAIL() << '"' << texts[i] << "\" vs \"" << texts[j] << "\": " << got;
            }
        }
    }
}

// Random pairs, most of them alike up to a few edits, drawn from ASCII or
// from a mix with accents, special upper-case mappings, combining marks,
// ignorables and characters beyond the BMP.
TEST(Unicode, CaseCmpOfRandomTextMatchesTheCollator)
{
    const std::vector<std::string> ascii{"a", "B", "z", " ", "-", "_", "0", "9", "\t", "\x01", "\x7f", "~", "'"};
    const std::vector<std::string> mixed{"a", "E", "é", "É",      "ß", "ﬁ",  "ΐ",  "σ", "ς", "\u0301", "\u0308",
                                         "ı", "İ", "ŉ", "\u00ad", "ё", "한", "中", "😀", "ǅ", "ffi",    "-"};
    std::mt19937 rng(7);
    const auto draw = [&rng](const std::vector<std::string> &pool, std::size_t n) {
        std::string s;
        for (std::size_t k = 0; k < n; ++k) {
            s += pool[rng() % pool.size()];
        }
        return s;
    };
    for (const auto *pPool : {&ascii, &mixed}) {
        for (int round = 0; round < 20000; ++round) {
            const std::size_t len = round % 100 == 0 ? 300 : rng() % 12;
            const std::string a = draw(*pPool, len);
            std::string b = a;
            for (int edits = int(rng() % 3); edits > 0; --edits) {
                b.insert(rng() % (b.size() + 1), draw(*pPool, 1));
            }
            b = round % 2 ? b : draw(*pPool, rng() % 12);
            ASSERT_EQ(VELKCUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()), ReferenceCaseCmp(a, b)) << a << " / " << b;
        }
    }
}

using velkc::unicode::Utf8Checker;

std::vector<Utf8Checker> CheckersThatRun()
{
    std::vector<Utf8Checker> checkers;
    for (const Utf8Checker checker : {Utf8Checker::kScalar, Utf8Checker::kSsse3, Utf8Checker::kAvx2}) {
        if (velkc::unicode::Utf8CheckerRuns(checker)) {
            checkers.push_back(checker);
        }
    }
    return checkers;
}

// Checks the text with every implementation that runs here, placed at
// offset bytes past a 64-byte boundary (so that the texts meet the vector
// blocks at every phase), between bytes that would be errors if the vector
// checks let through the ones before the text or past its terminator.
void ExpectCheckersAgree(const std::string &text, bool valid, std::size_t offset)
{
    static const std::vector<Utf8Checker> checkers = CheckersThatRun();
    std::vector<char> buf(text.size() + 192, '\xe0');
    char *p = buf.data() + (64 - reinterpret_cast<std::uintptr_t>(buf.data()) % 64) + offset % 64;
    std::copy(text.begin(), text.end() + 1, p);
    std::fill(p + text.size() + 1, buf.data() + buf.size(), '\x80');
    for (const Utf8Checker checker : checkers) {
        const auto check = velkc::unicode::CheckUtf8With(checker, p);
        if (check.valid != valid || (valid && check.cb != text.size())) {
            ADD_FAILURE() << "checker " << int(checker) << " at " << offset % 64 << ": "
                          << ::testing::PrintToString(text) << " valid=" << valid << " cb=" << check.cb;
        }
    }
}

// Texts alike up to a point, then different: the shared part ends in
// characters a contraction goes on from (with ASCII or not), in characters
// that are not ASCII, or in ASCII, and the rests start with characters that
// contract with them, combine with them, or stand alone. The answer must not
// depend on where the comparison picks the texts up.
TEST(Unicode, CaseCmpOfTextsAlikeUpToAPointMatchesTheCollator)
{
    const std::vector<std::string> shared{"",  "x", "é", "\uFDD1", "\uFDD1x", "L",
                                          "l", "ß", "ΐ", "中",     "\u00ad",  "\x01"};
    const std::vector<std::string> rests{"",       "4",      "L",  "l",        "M",  "A", "a",     "·",
                                         "\u0387", "\u0301", "L·", "l\u0387x", "4b", "é", "\x01a", "\uFDD1L"};
    for (const std::string &head : shared) {
        for (const std::string &restA : rests) {
            for (const std::string &restB : rests) {
                const std::string a = head + restA;
                const std::string b = head + restB;
                ASSERT_EQ(VELKCUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()), ReferenceCaseCmp(a, b))
                    << ::testing::PrintToString(a) << " / " << ::testing::PrintToString(b);
            }
        }
    }
}

// Every byte as a lead, followed by up to three bytes from each class the
// well-formedness rules tell apart, at places that cross the check's block
// boundaries and at the end of the text: the comparison fails exactly when
// the converter rejects the text, and every implementation of the check
// judges as the converter does.
TEST(Unicode, CaseCmpJudgesTextAsTheConverterDoes)
{
    const unsigned char follows[] = {0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0,
                                     0xC2, 0xDF, 0xE0, 0xED, 0xF0, 0xF4, 0xF5, 0xFF};
    std::vector<std::string> sequences;
    for (int lead = 1; lead < 0x100; ++lead) {
        sequences.emplace_back(1, char(lead));
        for (unsigned char b : follows) {
            sequences.push_back({char(lead), char(b)});
            for (unsigned char c : follows) {
                sequences.push_back({char(lead), char(b), char(c)});
                for (unsigned char d : follows) {
                    if (lead >= 0xF0) {
                        sequences.push_back({char(lead), char(b), char(c), char(d)});
                    }
                }
            }
        }
    }
    const std::pair<std::size_t, std::size_t> places[] = {{0, 0}, {14, 0}, {29, 0}, {31, 20}, {45, 3}};
    std::size_t checked = 0;
    for (const auto &[before, after] : places) {
        for (const std::string &seq : sequences) {
            const std::string text = std::string(before, 'a') + seq + std::string(after, 'b');
            const bool valid = ConverterTakes(text);
            if (VELKCUnicodeUTF8StrCaseCmp(text.c_str(), text.c_str()) != (valid ? 0 : -2)) {
                ADD_FAILURE() << "at " << before << ": " << ::testing::PrintToString(seq) << " valid=" << valid;
            }
            ExpectCheckersAgree(text, valid, checked);
            ++checked;
        }
    }
    EXPECT_GT(checked, std::size_t{500000});
}

// Random texts from the pools of the comparison test, some with long runs
// of ASCII, most with a byte or two changed: every implementation of the check judges
// them as the converter does, wherever the text and the damage lie.
TEST(Unicode, Utf8CheckersJudgeRandomTextAsTheConverterDoes)
{
    const std::vector<std::string> pool{"a", "é", "ß", "ΐ", "\u0301", "\u00ad", "한", "中", "😀", "ffi", "-", "\x7f"};
    std::mt19937 rng(11);
    std::size_t invalid = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (std::size_t n = round % 10 == 0 ? 200 : rng() % 40; n > 0; --n) {
            text += pool[rng() % pool.size()];
        }
        if (round % 10 == 1) {
            text.insert(rng() % (text.size() + 1), std::string(100 + rng() % 500, 'k'));
        }
        for (int damage = int(rng() % 3); damage > 0 && !text.empty(); --damage) {
            text[rng() % text.size()] = char(1 + rng() % 255);
        }
        const bool valid = ConverterTakes(text);
        invalid += valid ? 0 : 1;
        ExpectCheckersAgree(text, valid, rng());
    }
    EXPECT_GT(invalid, std::size_t{5000});
}

// Malformed UTF-8 fails the comparison even past the first difference.
TEST(Unicode, CaseCmpFailsOnMalformedTextAnywhere)
{
    for (const char *bad : {"\xff", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82", "\x80"}) {
        const std::string late = "b" + std::string(100, 'x') + bad;
        VELKCErrSetEx(0, "test", 0);
        EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("a", late.c_str()), -2) << late;
        EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp(late.c_str(), "\u00e4"), -2) << late;
        EXPECT_EQ(VELKCErrGet(), unsigned{ERR_UNICODE_FAILED});
    }
}

// The languages the UNICODE suite leaves out, in every kind. A Mac value is
// the Windows value plus 19, for UTF-8 and UTF-16 too: theirs coincide with
// Windows 1255 and 1256.
TEST(Codepage, LanguagesTheCheckSuiteLeavesOut)
{
    struct Row {
        const char *lang;
        int win, dos, mac;
    };
    const Row rows[] = {
        {"gre", KOVA_CP_WIN_1253, KOVA_CP_WIN_737, KOVA_CP_MAC_1253},
        {"heb", KOVA_CP_WIN_1255, KOVA_CP_WIN_862, KOVA_CP_MAC_1255},
        {"csy", KOVA_CP_WIN_1250, KOVA_CP_WIN_852, KOVA_CP_MAC_1250},
        {"ara", KOVA_CP_WIN_1256, KOVA_CP_WIN_1256, KOVA_CP_MAC_1256},
        {"utf8", KOVA_CP_UTF8, KOVA_CP_UTF8, KOVA_CP_WIN_1255},
        {"utf16", KOVA_CP_UTF16, KOVA_CP_UTF16, KOVA_CP_WIN_1256},
    };
    for (const auto &[lang, win, dos, mac] : rows) {
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, lang), win) << lang;
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_DMS, lang), win) << lang;
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_DOS, lang), dos) << lang;
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_MAC, lang), mac) << lang;
    }
}

// Every language in upper case and in mixed case gives what it gives in
// lower case, in every kind.
TEST(Codepage, EveryLanguageIgnoresCase)
{
    for (const std::string lang :
         {"utf8", "utf16", "enu", "fre", "ger", "ita", "spn", "cht", "chs", "jpn", "krn", "ptb", "rus",
          "dan",  "nor",   "sve", "nld", "gre", "heb", "plk", "ptg", "hun", "trk", "csy", "ara"}) {
        std::string upper = lang, mixed = lang;
        for (std::size_t i = 0; i < lang.size(); ++i) {
            upper[i] = static_cast<char>(std::toupper(lang[i]));
            mixed[i] = i % 2 == 0 ? upper[i] : lang[i];
        }
        for (const int kind : {KOVA_CODEPAGE_DMS, KOVA_CODEPAGE_DOS, KOVA_CODEPAGE_MAC, KOVA_CODEPAGE_WIN}) {
            const int value = VELKCCodepageValueParse(kind, lang.c_str());
            EXPECT_NE(value, -1) << lang;
            EXPECT_EQ(VELKCCodepageValueParse(kind, upper.c_str()), value) << upper;
            EXPECT_EQ(VELKCCodepageValueParse(kind, mixed.c_str()), value) << mixed;
        }
    }
}

TEST(Codepage, UnknownLanguagesLeaveTheRecord)
{
    VELKCErrSetEx(ERR_KEY_NOT_FOUND, "test", 42);
    EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, "xyz"), -1);
    EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, "en"), -1);
    EXPECT_EQ(VELKCCodepageValueParse(99, "xyz"), -1); // the language is looked up first
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_KEY_NOT_FOUND});
    EXPECT_EQ(VELKCErrorGetLine(), 42);
    EXPECT_EQ(VELKCCodepageValueParse(-1, "ger"), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
}

} // namespace
