// FILE suite: VELKCFileAddLine.
#include "file_suite_data.hpp"

static const char *grgszNumbers[] = {"1", "0", "5", "2", "3", "4", "5", "6", NULL};

// Adds a line to the scratch file, expecting result and code, then compares
// the file with lines and checks that the ".tmp" sibling was left alone.
#define ADD_LINE(pattern, line, flags, result, code, lines) \
    FILE_SUITE_EXPECT(VELKCFileAddLine(TEST_FILE, (pattern), (line), (flags)), result, code, lines, grgszNumbers)

START_TEST(VELKFileAddLineNULLArgs)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileAddLine(NULL, "abc", "x", 0), -1);

    FILE_SUITE_REFUSED(VELKCFileAddLine(TEST_FILE, "abc", NULL, 0), -1);

    FILE_SUITE_REFUSED(VELKCFileAddLine(TEST_FILE, "abc", "x", -1), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileAddLineTest)
{
    static const char *rgszBeforeFirst[] = {"1", "0", "a", "5", "2", "3", "4", "5", "6", NULL};
    static const char *rgszBeforeLast[] = {"1", "0", "a", "5", "2", "3", "4", "b", "5", "6", NULL};
    static const char *rgszAfterFirst[] = {"1", "0", "a", "5", "c", "2", "3", "4", "b", "5", "6", NULL};
    static const char *rgszAfterLast[] = {"1", "0", "a", "5", "c", "2", "3", "4", "b", "5", "d", "6", NULL};
    static const char *rgszFirst[] = {"first", "1", "0", "a", "5", "c", "2", "3", "4", "b", "5", "d", "6", NULL};
    static const char *rgszAppended[] = {"first", "1", "0", "a", "5", "c",    "2", "3",
                                         "4",     "b", "5", "d", "6", "last", NULL};
    static const char *rgszPrefix[] = {"zero", "first", "1", "0", "a", "5", "c",    "2",
                                       "3",    "4",     "b", "5", "d", "6", "last", NULL};
    static const char *rgszCaseless[] = {"zero", "first", "1", "0", "a", "5",      "c",    "2", "3",
                                         "4",    "b",     "5", "d", "6", "almost", "last", NULL};
    static const char *rgszAfterEnd[] = {"zero", "first", "1", "0", "a", "5",      "c",    "2",   "3",
                                         "4",    "b",     "5", "d", "6", "almost", "last", "end", NULL};

    FILE_SUITE_WRITE_BOTH(FILE_DATA_NUMBERS);
    FILE_SUITE_CHECK(TEST_FILE, grgszNumbers);

    // Before or after the first or the last line holding "5".
    ADD_LINE("5", "a", 0, 1, ERR_SUCCESS, rgszBeforeFirst);
    ADD_LINE("5", "b", MATCH_FLAG_LAST, 1, ERR_SUCCESS, rgszBeforeLast);
    ADD_LINE("5", "c", MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszAfterFirst);
    ADD_LINE("5", "d", MATCH_FLAG_LAST | MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszAfterLast);

    // No line holds "z": nothing changes.
    ADD_LINE("z", "e", 0, 0, ERR_KEY_NOT_FOUND, rgszAfterLast);

    // Without a pattern: the first line, or appended at the end.
    ADD_LINE(NULL, "first", 0, 1, ERR_SUCCESS, rgszFirst);
    ADD_LINE(NULL, "last", MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszAppended);

    // "ir" is in "first" but only "fir" begins it.
    ADD_LINE("ir", "x", MATCH_FLAG_PREFIX, 0, ERR_KEY_NOT_FOUND, rgszAppended);
    ADD_LINE("fir", "zero", MATCH_FLAG_PREFIX, 1, ERR_SUCCESS, rgszPrefix);
    ADD_LINE("LAST", "almost", MATCH_FLAG_IGNORE_CASE, 1, ERR_SUCCESS, rgszCaseless);
    ADD_LINE("ast", "end", MATCH_FLAG_SUFFIX | MATCH_FLAG_LAST | MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszAfterEnd);
}
END_TEST

TCase *file_add_line_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileAddLineNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileAddLineTest, 0, 0, 0, 1);
    return tc;
}
