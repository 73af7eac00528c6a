// FILE suite: VELKCFileGetLine.
#include "file_suite_data.hpp"

// Searches the scratch file and expects the line found.
#define GET_LINE(pattern, flags, expected)                                                         \
    do {                                                                                           \
        VELK_RESET();                                                                              \
        VELK_ASSERT_INT_ERR(VELKCFileGetLine(TEST_FILE, pattern, szBuf, sizeof(szBuf), flags), ==, \
                            (int)sizeof(expected));                                                \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                              \
        VELK_ASSERT_STR(szBuf, expected);                                                          \
    } while (0)

START_TEST(VELKFileGetLineTest)
{
    static const char *rgszLines[] = {"abc", "abcd", "Def", "dEfBc", NULL};
    char szBuf[64];

    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_FOUR_LINES);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetLine(TEST_FILE, "z", szBuf, sizeof(szBuf), 0), ==, 0);
    VELK_ASSERT_ERR(ERR_KEY_NOT_FOUND);

    GET_LINE("abc", MATCH_FLAG_LAST, "abcd");
    GET_LINE("def", MATCH_FLAG_IGNORE_CASE, "Def");
    GET_LINE("abc", MATCH_FLAG_SUFFIX, "abc");
    GET_LINE("Bc", MATCH_FLAG_SUFFIX, "dEfBc");

    // Case-sensitive by default: "bc" ends only "abc" ...
    GET_LINE("bc", MATCH_FLAG_SUFFIX | MATCH_FLAG_LAST, "abc");
    // ... and, ignoring case, "dEfBc" last.
    GET_LINE("bc", MATCH_FLAG_SUFFIX | MATCH_FLAG_IGNORE_CASE | MATCH_FLAG_LAST, "dEfBc");
    GET_LINE("ab", MATCH_FLAG_PREFIX | MATCH_FLAG_LAST, "abcd");

    // "dEfBc" needs 6 bytes.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetLine(TEST_FILE, "Bc", szBuf, 5, 0), ==, -1);
    VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);

    FILE_SUITE_REFUSED(VELKCFileGetLine(TEST_FILE, NULL, szBuf, sizeof(szBuf), 0), -1);

    FILE_SUITE_REFUSED(VELKCFileGetLine(TEST_FILE, "abc", szBuf, 0, 0), -1);

    FILE_SUITE_CHECK(TEST_FILE, rgszLines);
}
END_TEST

TCase *file_get_line_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileGetLineTest, 0, 0, 0, 1);
    return tc;
}
