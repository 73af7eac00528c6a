// FILE suite: VELKCFileCheckKeyValue.
#include "file_suite_data.hpp"

START_TEST(BlKOVAFileCheckKeyValueNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    // This function answers 0, not -1, to bad arguments.
    FILE_SUITE_REFUSED(VELKCFileCheckKeyValue(NULL, "abc", "", 1), 0);

    FILE_SUITE_REFUSED(VELKCFileCheckKeyValue(TEST_FILE, NULL, "", 1), 0);

    FILE_SUITE_REFUSED(VELKCFileCheckKeyValue(TEST_FILE, "abc", NULL, 1), 0);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

#define CHECK_KEY(key, value, defaultResult, expected)                                                   \
    do {                                                                                                 \
        VELK_RESET();                                                                                    \
        VELK_ASSERT_INT_ERR(VELKCFileCheckKeyValue(TEST_FILE, key, value, defaultResult), ==, expected); \
    } while (0)

START_TEST(BlKOVAFileCheckKeyValueTest)
{
    static const char *rgszKeys[] = {"k1=v1", "k2=\"v2\"", "k3=\"v3\"", NULL};

    FILE_SUITE_SET_THREE_KEYS("k");
    FILE_SUITE_CHECK(TEST_FILE, rgszKeys);

    // An absent key gives the default.
    CHECK_KEY("k0", "v0", 0, 0);
    VELK_ASSERT_ERR(ERR_KEY_NOT_FOUND);
    CHECK_KEY("k0", "v0", 1, 1);

    CHECK_KEY("k1", "v1", 0, 1);
    CHECK_KEY("k1", "v2", 1, 0);
    // Quotes are not part of the value; case does not matter.
    CHECK_KEY("k2", "v2", 0, 1);
    CHECK_KEY("k2", "V2", 0, 1);
    CHECK_KEY("k2", "v3", 1, 0);
    CHECK_KEY("k3", "v3", 0, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);
}
END_TEST

TCase *file_check_key_value_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, BlKOVAFileCheckKeyValueNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, BlKOVAFileCheckKeyValueTest, 0, 0, 0, 1);
    return tc;
}
