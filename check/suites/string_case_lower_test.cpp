// STRING suite: VELKCStrCaseLower.
#include "../kovacore_test.h"

START_TEST(VELKStrCaselowerTestNULLArgs)
{
    char szInput[] = "AbCdEfG";

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(NULL, 0, NULL, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // A null output means in place; the size is then not looked at.
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(szInput, 0, NULL, 0), ==, szInput);
    VELK_ASSERT_STR(szInput, "abcdefg");
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

START_TEST(VELKStrCaselowerTestInputEmpty)
{
    char szInput[] = "";
    char szOutput[] = "xxxxxxxx";

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(szInput, 0, szOutput, sizeof(szOutput)), ==, szOutput);
    VELK_ASSERT_STR(szOutput, "");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(szInput, 0, NULL, 0), ==, szInput);
    VELK_ASSERT_STR(szInput, "");
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

START_TEST(VELKStrCaselowerTestOutput)
{
    char szInput[] = "AbCdEfG";
    const int iSzInput = sizeof(szInput);
    char szOutput[16];

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(szInput, 0, szOutput, sizeof(szOutput)), ==, szOutput);
    VELK_ASSERT_STR(szOutput, "abcdefg");
    VELK_ASSERT_STR(szInput, "AbCdEfG");
    VELK_ASSERT_ERR(ERR_SUCCESS);

    // Room for the text but not its terminator.
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrCaseLower(szInput, 0, szOutput, iSzInput - 1), ==, NULL);
    VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);
}
END_TEST

TCase *string_case_lower_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrCaselowerTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrCaselowerTestInputEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrCaselowerTestOutput, 0, 0, 0, 1);
    return tc;
}
