// STRING suite: VELKCStrDecodeColon.
#include "../kovacore_test.h"

// Decodes src into a 256-byte buffer; text and length must be `expected`.
#define VELK_CHECK_DECODE(src, expected)                                                           \
    do {                                                                                           \
        char szBuf[256];                                                                           \
        VELK_RESET();                                                                              \
        VELK_ASSERT_INT_ERR(VELKCStrDecodeColon(src, szBuf, sizeof(szBuf)), ==, strlen(expected)); \
        VELK_ASSERT_STR(szBuf, expected);                                                          \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                              \
    } while (0)

START_TEST(VELKStrDecodeColonTestNULLArgs)
{
    char szSmallBuf[8] = "a;,b";

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDecodeColon(NULL, NULL, 0), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDecodeColon(NULL, szSmallBuf, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDecodeColon("a;,b", NULL, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrDecodeColon(szSmallBuf, szSmallBuf, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKStrDecodeColonTestLowMem)
{
    // The real buffer is larger than the declared size, so a wrong bound
    // shows as a wrong result rather than an overrun.
    char szBuf[16];
    const char *rgszSrc[] = {"aa", "a;,", "a;;"};

    for (int i = 0; i < 3; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCStrDecodeColon(rgszSrc[i], szBuf, 1), ==, -1);
        VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);
    }
}
END_TEST

START_TEST(VELKStrDecodeColonTestMin)
{
    VELK_CHECK_DECODE(";,", ":");
    VELK_CHECK_DECODE(";;", ";");
}
END_TEST

START_TEST(VELKStrDecodeColonTestMid)
{
    VELK_CHECK_DECODE("a;b", "a"); // a bad escape ends the text
    VELK_CHECK_DECODE("a;,b", "a:b");
    VELK_CHECK_DECODE("a;;b", "a;b");
}
END_TEST

START_TEST(VELKStrDecodeColonTestEnd)
{
    VELK_CHECK_DECODE("ab;,", "ab:");
    VELK_CHECK_DECODE("ab;;", "ab;");
}
END_TEST

TCase *string_decode_colon_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrDecodeColonTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDecodeColonTestLowMem, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDecodeColonTestMin, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDecodeColonTestMid, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrDecodeColonTestEnd, 0, 0, 0, 1);
    return tc;
}
