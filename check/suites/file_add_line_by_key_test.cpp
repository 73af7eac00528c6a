// FILE suite: VELKCFileAddLineByKey.
#include "file_suite_data.hpp"

static const char *grgszNumbersPair[] = {"1", "2", "3", "3:4", "5", NULL};

// Adds a line by key to the scratch file with the separators ":\n",
// expecting result and code, then compares the file and checks the ".tmp"
// sibling.
#define ADD_BY_KEY(keys, line, flags, result, code, lines)                                                   \
    FILE_SUITE_EXPECT(VELKCFileAddLineByKey(TEST_FILE, (keys), (line), (flags), ":\n"), result, code, lines, \
                      grgszNumbersPair)

START_TEST(VELKFileAddLineByKeyNULLArg)
{
    SzList *pslKey = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    FILE_SUITE_PUSH(pslKey, "abc");
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileAddLineByKey(NULL, pslKey, "x", 0, "="), -1);

    FILE_SUITE_REFUSED(VELKCFileAddLineByKey(TEST_FILE, pslKey, "x", 0, NULL), -1);

    // Only MATCH_FLAG_AFTER is a valid flag.
    FILE_SUITE_REFUSED(VELKCFileAddLineByKey(TEST_FILE, pslKey, "x", MATCH_FLAG_LAST, "="), -1);

    // A null line is no error: nothing is done.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLineByKey(TEST_FILE, pslKey, NULL, 0, "="), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
    VELKCSzListFree(pslKey);
}
END_TEST

START_TEST(VELKFileAddLineByKeyTest)
{
    static const char *rgszNumbersPairHead[] = {"1", "2", "3", NULL};
    static const char *rgszEmptyKeys[] = {"1", "2", "3", "3:4", "55", NULL};
    static const char *rgszThree[] = {"1", "2", "3", "5", "3:4", "55", NULL};
    static const char *rgszThreeFour[] = {"1", "2", "3", "5", "3:4", "5", "55", NULL};
    static const char *rgszNullKeys[] = {"1", "2", "3", "5", "3:4", "5", "555", NULL};
    static const char *rgszAgain[] = {"1", "2", "3", "5", "3:4", "5", "5", "555", NULL};
    static const char *rgszBefore[] = {"1", "x", "2", "3", "5", "3:4", "5", "5", "555", NULL};
    static const char *rgszWildcard[] = {"1", "x", "2", "3", "5", "y", "3:4", "5", "5", "555", NULL};
    static const char *rgszFirst[] = {"z", "1", "x", "2", "3", "5", "y", "3:4", "5", "5", "555", NULL};
    SzList *pslKey = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    FILE_SUITE_WRITE(TEST_FILE_TMP, FILE_DATA_NUMBERS_PAIR);

    // Without keys and with MATCH_FLAG_AFTER the text is appended exactly as
    // given (result 0): nothing ends it, so the next append joins the last
    // line.
    ADD_BY_KEY(NULL, "1\n2\n3\n", MATCH_FLAG_AFTER, 0, ERR_SUCCESS, rgszNumbersPairHead);
    ADD_BY_KEY(NULL, "3:4\n5", MATCH_FLAG_AFTER, 0, ERR_SUCCESS, grgszNumbersPair);

    ADD_BY_KEY(pslKey, "5", MATCH_FLAG_AFTER, 0, ERR_SUCCESS, rgszEmptyKeys);
    FILE_SUITE_PUSH(pslKey, "3");
    ADD_BY_KEY(pslKey, "5", MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszThree);
    // The line "3" has one token only; "3:4" matches both.
    FILE_SUITE_PUSH(pslKey, "4");
    ADD_BY_KEY(pslKey, "5", MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszThreeFour);
    ADD_BY_KEY(NULL, "5", MATCH_FLAG_AFTER, 0, ERR_SUCCESS, rgszNullKeys);
    ADD_BY_KEY(pslKey, "5", MATCH_FLAG_AFTER, 1, ERR_SUCCESS, rgszAgain);

    // Before the first match.
    VELKCSzListRemoveAll(pslKey);
    FILE_SUITE_PUSH(pslKey, "2");
    ADD_BY_KEY(pslKey, "x", 0, 1, ERR_SUCCESS, rgszBefore);

    // An empty item matches any token.
    VELKCSzListRemoveAll(pslKey);
    FILE_SUITE_PUSH(pslKey, "");
    FILE_SUITE_PUSH(pslKey, "4");
    ADD_BY_KEY(pslKey, "y\n", 0, 1, ERR_SUCCESS, rgszWildcard);

    // No match: the file stays as it was.
    VELKCSzListRemoveAll(pslKey);
    FILE_SUITE_PUSH(pslKey, "9");
    ADD_BY_KEY(pslKey, "w", MATCH_FLAG_AFTER, 0, ERR_KEY_NOT_FOUND, rgszWildcard);

    // Without keys and without MATCH_FLAG_AFTER every line matches.
    ADD_BY_KEY(NULL, "z", 0, 1, ERR_SUCCESS, rgszFirst);

    VELKCSzListFree(pslKey);
}
END_TEST

TCase *file_add_line_by_key_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileAddLineByKeyNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileAddLineByKeyTest, 0, 0, 0, 1);
    return tc;
}
