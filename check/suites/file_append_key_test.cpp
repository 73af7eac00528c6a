// FILE suite: VELKCFileAppendKey.
#include "file_suite_data.hpp"

START_TEST(VELKFileAppendKeyTest)
{
    static const char *rgszKeys[] = {"k1=v1", "k2=v2", NULL};

    FILE_SUITE_WRITE(TEST_FILE_TMP, FILE_DATA_FOUR_KEYS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAppendKey(TEST_FILE, "k1", "v1", NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAppendKey(TEST_FILE, "k2", "v2", NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    // The key exists: nothing is written.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAppendKey(TEST_FILE, "k1", "v2", NULL), ==, 0);
    VELK_ASSERT_ERR(ERR_KEY_EXISTS);

    // A prefix of an existing key is another key.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAppendKey(TEST_FILE, "k", "v", NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileRemoveKey(TEST_FILE, "k"), ==, 1);

    FILE_SUITE_REFUSED(VELKCFileAppendKey(TEST_FILE, NULL, "v", NULL), -1);

    FILE_SUITE_CHECK(TEST_FILE, rgszKeys);
    FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);
}
END_TEST

TCase *file_append_key_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileAppendKeyTest, 0, 0, 0, 1);
    return tc;
}
