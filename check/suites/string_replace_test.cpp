// STRING suite: VELKCStrReplace.
#include "../kovacore_test.h"

// The output buffer's contents before each call: 18 'a' bytes.
#define SZ_UNTOUCHED "aaaaaaaaaaaaaaaaaa"

// Replaces szOld by szNew in szInputData into a fresh output of size cbOut;
// the result must be `expected`, with the input unchanged.
#define VELK_CHECK_REPLACE(szInputData, szOld, szNew, cbOut, expected)                       \
    do {                                                                                     \
        char szInput[] = szInputData;                                                        \
        char szOutput[32] = SZ_UNTOUCHED;                                                    \
        VELK_RESET();                                                                        \
        VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, szOld, szNew, szOutput, cbOut), ==, 1); \
        VELK_ASSERT_STR(szOutput, expected);                                                 \
        VELK_ASSERT_STR(szInput, szInputData);                                               \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                        \
    } while (0)

START_TEST(VELKStrReplaceTestNULLArgs)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[32];

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(NULL, "bcd", "xxx", szOutput, sizeof(szOutput)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, NULL, "xxx", szOutput, sizeof(szOutput)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "bcd", NULL, szOutput, sizeof(szOutput)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKStrReplaceTestKeyNotFound)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[] = SZ_UNTOUCHED;

    // Not found writes nothing, not even a terminator.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "bcde", "xxx", szOutput, sizeof(szOutput)), ==, 0);
    VELK_ASSERT_STR(szInput, "bcd_abcd_cde");
    VELK_ASSERT_STR(szOutput, SZ_UNTOUCHED);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

// An empty key matches at the start: the new text is put in front.
START_TEST(VELKStrReplaceTestEmptyArgs)
{
    VELK_CHECK_REPLACE("bcd_abcd_cde", "", "xxx", 32, "xxxbcd_abcd_cde");
    VELK_CHECK_REPLACE("", "", "xxx", 32, "xxx");
}
END_TEST

// In place, the replacements build on each other.
START_TEST(VELKStrReplaceTestOutputNULL)
{
    char szInput[32] = "bcd_abcd_cde";

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "bcd", "xxx", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "xxx_abcd_cde");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "abcd", "xxx", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "xxx_xxx_cde");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "cde", "xxx", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "xxx_xxx_xxx");
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

// 12 bytes: exactly the replaced text and its terminator.
START_TEST(VELKStrReplaceTestOutputFit)
{
    VELK_CHECK_REPLACE("abc_bcd_cde", "abc", "xxx", 12, "xxx_bcd_cde");
    VELK_CHECK_REPLACE("abc_bcd_cde", "bcd", "xxx", 12, "abc_xxx_cde");
    VELK_CHECK_REPLACE("abc_bcd_cde", "cde", "xxx", 12, "abc_bcd_xxx");
}
END_TEST

// Only the first occurrence is replaced ("bcd" also occurs in "abcd").
START_TEST(VELKStrReplaceTestOutputEnough)
{
    VELK_CHECK_REPLACE("bcd_abcd_cde", "bcd", "xxx", 32, "xxx_abcd_cde");
    VELK_CHECK_REPLACE("bcd_abcd_cde", "abcd", "xxx", 32, "bcd_xxx_cde");
    VELK_CHECK_REPLACE("bcd_abcd_cde", "cde", "xxx", 32, "bcd_abcd_xxx");
}
END_TEST

START_TEST(VELKStrReplaceTestOutputNotEnough)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[] = SZ_UNTOUCHED;

    // 13 bytes are needed.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrReplace(szInput, "bcd", "xxx", szOutput, 12), ==, -1);
    VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);
    VELK_ASSERT_STR(szOutput, SZ_UNTOUCHED);
}
END_TEST

TCase *string_replace_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrReplaceTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestKeyNotFound, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestEmptyArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestOutputNULL, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestOutputFit, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestOutputEnough, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrReplaceTestOutputNotEnough, 0, 0, 0, 1);
    return tc;
}
