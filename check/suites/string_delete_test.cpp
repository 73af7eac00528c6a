// STRING suite: VELKCStrDelete.
#include "../kovacore_test.h"

// The output buffer's contents before each call: 18 'a' bytes.
#define SZ_UNTOUCHED "aaaaaaaaaaaaaaaaaa"

// Deletes szKey from szInputData into a fresh output of size cbOut; the
// result must be `expected`, with the input unchanged.
#define VELK_CHECK_DELETE(szInputData, szKey, cbOut, expected)                       \
    do {                                                                             \
        char szInput[] = szInputData;                                                \
        char szOutput[32] = SZ_UNTOUCHED;                                            \
        VELK_RESET();                                                                \
        VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, szKey, szOutput, cbOut), ==, 1); \
        VELK_ASSERT_STR(szOutput, expected);                                         \
        VELK_ASSERT_STR(szInput, szInputData);                                       \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                \
    } while (0)

START_TEST(VELKStrDeleteTestArgsNULL)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[32];

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(NULL, "bcd", szOutput, sizeof(szOutput)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, NULL, szOutput, sizeof(szOutput)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

// Deleting the empty string copies the input.
START_TEST(VELKStrDeleteTestArgsEmpty)
{
    VELK_CHECK_DELETE("abc_bcd_cde", "", 32, "abc_bcd_cde");
    VELK_CHECK_DELETE("", "", 32, "");
}
END_TEST

START_TEST(VELKStrDeleteTestKeyNotFound)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[] = SZ_UNTOUCHED;

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "bcde", NULL, sizeof(szInput)), ==, 0);
    VELK_ASSERT_STR(szInput, "bcd_abcd_cde");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "bcde", szOutput, sizeof(szOutput)), ==, 0);
    VELK_ASSERT_STR(szInput, "bcd_abcd_cde");
    VELK_ASSERT_STR(szOutput, SZ_UNTOUCHED);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

// In place, the deletions build on each other.
START_TEST(VELKStrDeleteTestOutputNULL)
{
    char szInput[] = "bcd_abcd_cde";

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "bcd", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "_abcd_cde");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "abcd", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "__cde");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "cde", NULL, sizeof(szInput)), ==, 1);
    VELK_ASSERT_STR(szInput, "__");
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

START_TEST(VELKStrDeleteTestOutputFit)
{
    VELK_CHECK_DELETE("abc_bcd_cde", "abc", 10, "_bcd_cde");
    VELK_CHECK_DELETE("abc_bcd_cde", "bcd", 10, "abc__cde");
    VELK_CHECK_DELETE("abc_bcd_cde", "cde", 10, "abc_bcd_");
}
END_TEST

// Only the first occurrence goes ("bcd" also occurs in "abcd").
START_TEST(VELKStrDeleteTestOutputEnough)
{
    VELK_CHECK_DELETE("bcd_abcd_cde", "bcd", 32, "_abcd_cde");
    VELK_CHECK_DELETE("bcd_abcd_cde", "abcd", 32, "bcd__cde");
    VELK_CHECK_DELETE("bcd_abcd_cde", "cde", 32, "bcd_abcd_");
}
END_TEST

START_TEST(VELKStrDeleteTestOutputNotEnough)
{
    char szInput[] = "bcd_abcd_cde";
    char szOutput[] = SZ_UNTOUCHED;

    // 10 bytes are needed.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDelete(szInput, "bcd", szOutput, 9), ==, -1);
    VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);
    VELK_ASSERT_STR(szOutput, SZ_UNTOUCHED);
}
END_TEST

TCase *string_delete_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrDeleteTestArgsNULL, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestArgsEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestKeyNotFound, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestOutputNULL, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestOutputFit, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestOutputEnough, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDeleteTestOutputNotEnough, 0, 0, 0, 1);
    return tc;
}
