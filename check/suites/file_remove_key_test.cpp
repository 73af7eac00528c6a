// FILE suite: VELKCFileRemoveKey.
#include "file_suite_data.hpp"

static const char *grgszFiveKeys[] = {"abc=", "abcd=", "Def=", "www=", "Dewww=", NULL};

// Removes a key from the scratch file, expecting result and code, then
// compares the file and checks the ".tmp" sibling.
#define REMOVE_KEY(key, result, code, lines) \
    FILE_SUITE_EXPECT(VELKCFileRemoveKey(TEST_FILE, (key)), result, code, lines, grgszFiveKeys)

START_TEST(VELKFileRemoveKeyNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileRemoveKey(NULL, "zzz"), -1);

    FILE_SUITE_REFUSED(VELKCFileRemoveKey(TEST_FILE, NULL), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileRemoveKeyTest)
{
    static const char *rgszNoAbc[] = {"abcd=", "Def=", "Dewww=", NULL};
    static const char *rgszNoDewww[] = {"abcd=", "Def=", NULL};
    static const char *rgszTwoDef[] = {"abcd=", "Def=", "Def=2", NULL};
    static const char *rgszAbcd[] = {"abcd=", NULL};

    FILE_SUITE_WRITE_BOTH(FILE_DATA_FIVE_KEYS);

    REMOVE_KEY("zzz", 0, ERR_KEY_NOT_FOUND, grgszFiveKeys);
    // The key match is exact: "Dewww" stays.
    REMOVE_KEY("www", 1, ERR_SUCCESS, grgszFourKeysLines);
    REMOVE_KEY("abc", 1, ERR_SUCCESS, rgszNoAbc);
    REMOVE_KEY("Dewww", 1, ERR_SUCCESS, rgszNoDewww);

    // Every line of the key goes; the result counts them.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, NULL, "Def=2", MATCH_FLAG_AFTER), ==, 1);
    FILE_SUITE_CHECK(TEST_FILE, rgszTwoDef);
    REMOVE_KEY("Def", 2, ERR_SUCCESS, rgszAbcd);
}
END_TEST

TCase *file_remove_key_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileRemoveKeyNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileRemoveKeyTest, 0, 0, 0, 1);
    return tc;
}
