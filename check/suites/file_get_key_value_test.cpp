// FILE suite: VELKCFileGetKeyValue.
#include "file_suite_data.hpp"

START_TEST(VELKFileGetKeyValueTestNULLArgs)
{
    char szBuf[64];

    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileGetKeyValue(NULL, "abc", szBuf, sizeof(szBuf), 0), -1);

    FILE_SUITE_REFUSED(VELKCFileGetKeyValue(TEST_FILE, NULL, szBuf, sizeof(szBuf), 0), -1);

    // A null buffer is only allowed for a size query (size 0).
    FILE_SUITE_REFUSED(VELKCFileGetKeyValue(TEST_FILE, "abc", NULL, sizeof(szBuf), 0), -1);

    FILE_SUITE_REFUSED(VELKCFileGetKeyValue(TEST_FILE, "abc", szBuf, sizeof(szBuf), -1), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileGetKeyValueTest)
{
    static const char *rgszKeys[] = {"k1=v1", "k2=\"v2\"", "k3=\"v3\"", NULL};
    static const char *rgszKeysLast[] = {"k1=v1", "k2=\"v2\"", "k3=\"v3\"", "k1=v9", NULL};
    static const char *rgszKey[] = {"k1", "k2", "k3"};
    static const char *rgszVal[] = {"v1", "v2", "v3"};
    char szBuf[64];

    FILE_SUITE_SET_THREE_KEYS("k");
    FILE_SUITE_CHECK(TEST_FILE, rgszKeys);

    // Values read back without their quotes; the size counts the NUL.
    for (int i = 0; i < 3; ++i) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, rgszKey[i], szBuf, sizeof(szBuf), 0), ==, 3);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_STR(szBuf, rgszVal[i]);
    }

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k0", szBuf, sizeof(szBuf), 0), ==, 0);
    VELK_ASSERT_ERR(ERR_KEY_NOT_FOUND);

    // "k" is a prefix of every key but the key of none.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k", szBuf, sizeof(szBuf), 0), ==, 0);
    VELK_ASSERT_ERR(ERR_KEY_NOT_FOUND);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k1", szBuf, 2, 0), ==, -1);
    VELK_ASSERT_ERR(ERR_NOT_ENOUGH_MEMORY);

    // The size query.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k1", NULL, 0, 0), ==, 3);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    // A second line of k1: the first wins, or the last with MATCH_FLAG_LAST.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, NULL, "k1=v9", MATCH_FLAG_AFTER), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(TEST_FILE, rgszKeysLast);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k1", szBuf, sizeof(szBuf), 0), ==, 3);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(szBuf, "v1");

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k1", szBuf, sizeof(szBuf), MATCH_FLAG_LAST), ==, 3);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(szBuf, "v9");

    FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);
}
END_TEST

TCase *file_get_key_value_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileGetKeyValueTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileGetKeyValueTest, 0, 0, 0, 1);
    return tc;
}
