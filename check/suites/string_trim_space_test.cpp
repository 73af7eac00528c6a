// STRING suite: VELKCStrTrimSpace.
#include "string_trim_cases.hpp"

START_TEST(VELKStrTrimSpaceTestNULLArgs) { VELK_TRIM_NULL_ARGS(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestInOutOverlap) { VELK_TRIM_IN_OUT_OVERLAP(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestInOutEqual) { VELK_TRIM_IN_OUT_EQUAL(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestNoEmpty) { VELK_TRIM_NO_EMPTY(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestAllEmpty) { VELK_TRIM_ALL_EMPTY(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestLeftEmpty) { VELK_TRIM_LEFT_EMPTY(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestRightEmpty) { VELK_TRIM_RIGHT_EMPTY(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestTwoEndEmpty) { VELK_TRIM_TWO_END_EMPTY(VELKCStrTrimSpace); }
END_TEST

// A lone quote stays; a pair of quotes with nothing between goes.
START_TEST(VELKStrTrimSpaceTestQuoteOnly)
{
    VELK_TRIM_BUFFERS;
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"", szInput1, SZ_SINQUO);
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"\"", szInput2, SZ_EMPTY);
    (void)szInput3;
}
END_TEST

START_TEST(VELKStrTrimSpaceTestQuoteSingleLeft) { VELK_TRIM_QUOTE_SINGLE_LEFT(VELKCStrTrimSpace); }
END_TEST

START_TEST(VELKStrTrimSpaceTestQuoteSingleRight) { VELK_TRIM_QUOTE_SINGLE_RIGHT(VELKCStrTrimSpace); }
END_TEST

// The text between the quotes is kept exactly, its whitespace and inner
// quotes included.
START_TEST(VELKStrTrimSpaceTestQuotePair)
{
    VELK_TRIM_BUFFERS;
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"A\"", szInput1, SZ_SINGLE);
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"ABCD\"", szInput2, SZ_MANY);
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"A\tB\r\nC D\"", szInput3, SZ_MIDDLE_SPACE);
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\" \t   \r   \n  \r \t \nA\tB\r\nC D \t   \r   \n  \r \t \n\"", szInput1,
                    " \t   \r   \n  \r \t \nA\tB\r\nC D \t   \r   \n  \r \t \n");
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"  AB\"C  \"", szInput2, "  AB\"C  ");
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"  \"AB\"C\"  \"", szInput3, "  \"AB\"C\"  ");
}
END_TEST

// Only the outer pair goes.
START_TEST(VELKStrTrimSpaceTestQuotePairs)
{
    VELK_TRIM_BUFFERS;
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"\"A\"\"", szInput1, "\"A\"");
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"\"ABCD\"\"", szInput2, SZ_PAIRQUO_MANY);
    VELK_CHECK_TRIM(VELKCStrTrimSpace, "\"\"A\tB\r\nC D\"\"", szInput3, "\"A\tB\r\nC D\"");
}
END_TEST

TCase *string_trim_space_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrTrimSpaceTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestInOutOverlap, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestInOutEqual, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestNoEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestAllEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestLeftEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestRightEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestTwoEndEmpty, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestQuoteOnly, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestQuoteSingleLeft, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestQuoteSingleRight, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestQuotePair, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTrimSpaceTestQuotePairs, 0, 0, 0, 1);
    return tc;
}
