// STRING suite: VELKCStrEncodeColon.
#include "../kovacore_test.h"

// Encodes src into a 256-byte buffer; text and length must be `expected`.
#define VELK_CHECK_ENCODE(src, expected)                                                           \
    do {                                                                                           \
        char szBuf[256];                                                                           \
        VELK_RESET();                                                                              \
        VELK_ASSERT_INT_ERR(VELKCStrEncodeColon(src, szBuf, sizeof(szBuf)), ==, strlen(expected)); \
        VELK_ASSERT_STR(szBuf, expected);                                                          \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                              \
    } while (0)

START_TEST(VELKStrEncodeColonTestNULLArgs)
{
    char szSmallBuf[8] = "a:b";

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrEncodeColon(NULL, NULL, 0), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrEncodeColon(NULL, szSmallBuf, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrEncodeColon("a:b", NULL, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrEncodeColon(szSmallBuf, szSmallBuf, sizeof(szSmallBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKStrEncodeColonTestLowMem)
{
    // The real buffer is larger than the declared size, so a wrong bound
    // shows as a wrong result rather than an overrun.
    char szBuf[16];
    const char *rgszSrc[] = {"aa", ":", ";"};

    for (int i = 0; i < 3; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCStrEncodeColon(rgszSrc[i], szBuf, 1), ==, -1);
        VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);
    }
}
END_TEST

START_TEST(VELKStrEncodeColonTestMin)
{
    VELK_CHECK_ENCODE(":", ";,");
    VELK_CHECK_ENCODE(";", ";;");
}
END_TEST

START_TEST(VELKStrEncodeColonTestMid)
{
    VELK_CHECK_ENCODE("a:b", "a;,b");
    VELK_CHECK_ENCODE("a;b", "a;;b");
}
END_TEST

START_TEST(VELKStrEncodeColonTestEnd)
{
    VELK_CHECK_ENCODE("ab:", "ab;,");
    VELK_CHECK_ENCODE("ab;", "ab;;");
}
END_TEST

TCase *string_encode_colon_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrEncodeColonTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrEncodeColonTestLowMem, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrEncodeColonTestMin, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrEncodeColonTestMid, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrEncodeColonTestEnd, 0, 0, 0, 1);
    return tc;
}
