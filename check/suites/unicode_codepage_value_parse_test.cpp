// UNICODE suite: VELKCCodepageValueParse for every language of the test
// data and for bad arguments.
#include "../kovacore_test.h"

// One call, checked against the expected code page by name.
#define CHECK_CODEPAGE(kind, lang, expected)                                    \
    do {                                                                        \
        VELK_RESET();                                                           \
        VELK_ASSERT_INT_ERR(VELKCCodepageValueParse(kind, lang), ==, expected); \
    } while (0)

// Only the result is checked: a null language sets an error, an empty one
// does not.
START_TEST(KOVACodepageValueParseNULLArgs)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "", -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, NULL, -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, NULL, -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "", -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, NULL, -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "", -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, NULL, -1);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "", -1);
    CHECK_CODEPAGE(5, "enu", -1);
}
END_TEST

START_TEST(KOVACodepageValueParse_utf8)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "utf8", KOVA_CP_UTF8);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "utf8", KOVA_CP_UTF8);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "utf8", KOVA_CP_UTF8);
}
END_TEST

START_TEST(KOVACodepageValueParse_enu)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "enu", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "enu", KOVA_CP_WIN_437);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "enu", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "enu", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_fre)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "fre", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "fre", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "fre", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "fre", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_ger)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "ger", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "ger", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "ger", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "ger", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_ita)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "ita", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "ita", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "ita", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "ita", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_spn)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "spn", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "spn", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "spn", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "spn", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_cht)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "cht", KOVA_CP_WIN_950);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "cht", KOVA_CP_WIN_950);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "cht", KOVA_CP_MAC_950);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "cht", KOVA_CP_WIN_950);
}
END_TEST

START_TEST(KOVACodepageValueParse_chs)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "chs", KOVA_CP_WIN_936);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "chs", KOVA_CP_WIN_936);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "chs", KOVA_CP_MAC_936);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "chs", KOVA_CP_WIN_936);
}
END_TEST

START_TEST(KOVACodepageValueParse_jpn)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "jpn", KOVA_CP_WIN_932);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "jpn", KOVA_CP_WIN_932);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "jpn", KOVA_CP_MAC_932);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "jpn", KOVA_CP_WIN_932);
}
END_TEST

START_TEST(KOVACodepageValueParse_krn)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "krn", KOVA_CP_WIN_949);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "krn", KOVA_CP_WIN_949);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "krn", KOVA_CP_MAC_949);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "krn", KOVA_CP_WIN_949);
}
END_TEST

START_TEST(KOVACodepageValueParse_ptb)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "ptb", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "ptb", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "ptb", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "ptb", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_rus)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "rus", KOVA_CP_WIN_1251);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "rus", KOVA_CP_WIN_866);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "rus", KOVA_CP_MAC_1251);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "rus", KOVA_CP_WIN_1251);
}
END_TEST

START_TEST(KOVACodepageValueParse_dan)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "dan", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "dan", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "dan", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "dan", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_nor)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "nor", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "nor", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "nor", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "nor", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_sve)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "sve", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "sve", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "sve", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "sve", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_nld)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "nld", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "nld", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "nld", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "nld", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_plk)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "plk", KOVA_CP_WIN_1250);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "plk", KOVA_CP_WIN_852);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "plk", KOVA_CP_MAC_1250);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "plk", KOVA_CP_WIN_1250);
}
END_TEST

START_TEST(KOVACodepageValueParse_ptg)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "ptg", KOVA_CP_WIN_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "ptg", KOVA_CP_WIN_850);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "ptg", KOVA_CP_MAC_1252);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "ptg", KOVA_CP_WIN_1252);
}
END_TEST

START_TEST(KOVACodepageValueParse_hun)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "hun", KOVA_CP_WIN_1250);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "hun", KOVA_CP_WIN_852);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "hun", KOVA_CP_MAC_1250);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "hun", KOVA_CP_WIN_1250);
}
END_TEST

START_TEST(KOVACodepageValueParse_trk)
{
    CHECK_CODEPAGE(KOVA_CODEPAGE_WIN, "trk", KOVA_CP_WIN_1254);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DOS, "trk", KOVA_CP_WIN_857);
    CHECK_CODEPAGE(KOVA_CODEPAGE_MAC, "trk", KOVA_CP_MAC_1254);
    CHECK_CODEPAGE(KOVA_CODEPAGE_DMS, "trk", KOVA_CP_WIN_1254);
}
END_TEST

TCase *unicode_codepage_value_parse_test(void)
{
    TCase *tc = tcase_create("UNICODE");
    _tcase_add_test(tc, KOVACodepageValueParseNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_utf8, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_enu, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_fre, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_ger, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_ita, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_spn, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_cht, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_chs, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_jpn, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_krn, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_ptb, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_rus, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_dan, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_nor, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_sve, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_nld, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_plk, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_ptg, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_hun, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVACodepageValueParse_trk, 0, 0, 0, 1);
    return tc;
}
