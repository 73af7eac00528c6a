// Unicode helpers on non-ASCII text, and the code-page rows that the
// UNICODE suite leaves out.
#include <velkc.h>
#include <velkc/unicode_icu.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

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

TEST(Unicode, CaseCmpIgnoresCaseBeyondAscii)
{
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("abc", "ABC"), 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("Straße", "STRASSE"), 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("ÜBER", "über"), 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("ΣΊΣΥΦΟΣ", "σίσυφος"), 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("ı", "I"), 0);
    EXPECT_NE(VELKCUnicodeUTF8StrCaseCmp("i", "İ"), 0); // no Turkish tailoring
}

TEST(Unicode, CaseCmpOrdersByCollationNotBytes)
{
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("äpfel", "Birne"), -1);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("Birne", "äpfel"), 1);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("apfel", "Äpfel"), -1);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("άλφα", "ΒΗΤΑ"), -1);
}

TEST(Unicode, CaseCmpFailsWithMinusTwo)
{
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp(nullptr, "a"), -2);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(VELKCUnicodeUTF8StrCaseCmp("a", "\xc3"), -2);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_UNICODE_FAILED});
}

TEST(Unicode, CollatorIsOpenedOnce)
{
    UCollator *coll = VELKCUnicodeIOpenCollator();
    ASSERT_NE(coll, nullptr);
    EXPECT_EQ(pucollSysCollator, coll);
    EXPECT_EQ(VELKCUnicodeIOpenCollator(), coll);
}

struct CodepageRow {
    const char *lang;
    int win, dos, mac;
};

TEST(Codepage, RowsTheSuiteLeavesOut)
{
    const CodepageRow rows[] = {
        {"utf16", KOVA_CP_UTF16, KOVA_CP_UTF16, KOVA_CP_WIN_1256},
        {"gre", KOVA_CP_WIN_1253, KOVA_CP_WIN_737, KOVA_CP_MAC_1253},
        {"heb", KOVA_CP_WIN_1255, KOVA_CP_WIN_862, KOVA_CP_MAC_1255},
        {"csy", KOVA_CP_WIN_1250, KOVA_CP_WIN_852, KOVA_CP_MAC_1250},
        {"ara", KOVA_CP_WIN_1256, KOVA_CP_WIN_1256, KOVA_CP_MAC_1256},
        {"utf8", KOVA_CP_UTF8, KOVA_CP_UTF8, KOVA_CP_WIN_1255},
        {"TRK", KOVA_CP_WIN_1254, KOVA_CP_WIN_857, KOVA_CP_MAC_1254},
    };
    for (const CodepageRow &row : rows) {
        SCOPED_TRACE(row.lang);
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, row.lang), row.win);
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_DMS, row.lang), row.win);
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_DOS, row.lang), row.dos);
        EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_MAC, row.lang), row.mac);
    }
}

TEST(Codepage, UnknownLanguageLeavesRecordUntouched)
{
    VELKCErrSetEx(ERR_KEY_NOT_FOUND, "test", 42);
    EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, "xyz"), -1);
    EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_WIN, "en"), -1);
    EXPECT_EQ(VELKCCodepageValueParse(99, "xyz"), -1); // the language is looked up first
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_KEY_NOT_FOUND});
    EXPECT_STREQ(VELKCErrorGetFile(), "test");
    EXPECT_EQ(VELKCErrorGetLine(), 42);
}

TEST(Codepage, BadKindOrNullLanguage)
{
    for (int kind : {0, 5, -1}) {
        VELKCErrSetEx(0, "test", 0);
        EXPECT_EQ(VELKCCodepageValueParse(kind, "ger"), -1);
        EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
        EXPECT_STREQ(VELKCErrorGetFile(), "unicode_codepage_value_parse");
    }
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCCodepageValueParse(KOVA_CODEPAGE_DOS, nullptr), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
}

} // namespace
