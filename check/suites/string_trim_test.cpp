// STRING suite: VELKCStrTrim.
#include "string_trim_cases.hpp"

// VELKCStrTrim with its default set, whitespace.
static int TrimWhitespace(char *szInput, char *szOutput) { return VELKCStrTrim(szInput, szOutput, NULL); }

START_TEST(VELKStrTrimTestNULLArgs) { VELK_TRIM_NULL_ARGS(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestInOutOverlap) { VELK_TRIM_IN_OUT_OVERLAP(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestInOutEqual) { VELK_TRIM_IN_OUT_EQUAL(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestNoEmpty) { VELK_TRIM_NO_EMPTY(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestAllEmpty) { VELK_TRIM_ALL_EMPTY(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestLeftEmpty) { VELK_TRIM_LEFT_EMPTY(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestRightEmpty) { VELK_TRIM_RIGHT_EMPTY(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestTwoEndEmpty) { VELK_TRIM_TWO_END_EMPTY(TrimWhitespace); }
END_TEST

// Quotes are ordinary bytes here: a pair stays.
START_TEST(VELKStrTrimTestQuoteOnly)
{
    VELK_TRIM_BUFFERS;
    VELK_CHECK_TRIM(TrimWhitespace, "\"", szInput1, SZ_SINQUO);
    VELK_CHECK_TRIM(TrimWhitespace, "\"\"", szInput2, SZ_PAIRQUO);
    (void)szInput3;
}
END_TEST

START_TEST(VELKStrTrimTestQuoteSingleLeft) { VELK_TRIM_QUOTE_SINGLE_LEFT(TrimWhitespace); }
END_TEST

START_TEST(VELKStrTrimTestQuoteSingleRight) { VELK_TRIM_QUOTE_SINGLE_RIGHT(TrimWhitespace); }
END_TEST

// An explicit set replaces whitespace: bytes of the set go, whitespace stays.
START_TEST(VELKStrTrimDelimTest)
{
    char szBuf[256], szInput1[] = "A", szInput2[] = "ABCD", szInput3[] = "A\tB\r\nC D";

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim((char *)"A", szBuf, "A"), ==, 0);
    VELK_ASSERT_STR(szBuf, SZ_EMPTY);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim(szInput1, NULL, "A"), ==, 0);
    VELK_ASSERT_STR(szInput1, SZ_EMPTY);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim((char *)"ABCD", szBuf, "ABCD"), ==, 0);
    VELK_ASSERT_STR(szBuf, SZ_EMPTY);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim(szInput2, NULL, "ABCD"), ==, 0);
    VELK_ASSERT_STR(szInput2, SZ_EMPTY);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim((char *)"A\tB\r\nC D", szBuf, " \t   \r   \n  \r \t \n"), ==,
                        strlen(SZ_MIDDLE_SPACE));
    VELK_ASSERT_STR(szBuf, SZ_MIDDLE_SPACE);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTrim(szInput3, NULL, " \t   \r   \n  \r \t \n"), ==, strlen(SZ_MIDDLE_SPACE));
    VELK_ASSERT_STR(szInput3, SZ_MIDDLE_SPACE);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

TCase *string_trim_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrTrimTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestInOutOverlap, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestInOutEqual, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestNoEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestAllEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestLeftEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestRightEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestTwoEndEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestQuoteOnly, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestQuoteSingleLeft, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimTestQuoteSingleRight, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimDelimTest, 0, 0, 0, 1);
    return tc;
}
