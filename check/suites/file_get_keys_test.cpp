// FILE suite: VELKCFileGetKeys.
#include "file_suite_data.hpp"

START_TEST(VELKVELKFileGetKeysTestNULLArgs)
{
    SzList *pslKey = VELKCSzListAlloc(512);
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_INT(VELKCSzListPush(&pslKey, "abc"), ==, 0);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileGetKeys(NULL, pslKey, &pshHash, "="), -1);

    FILE_SUITE_REFUSED(VELKCFileGetKeys(TEST_FILE, pslKey, NULL, "="), -1);

    FILE_SUITE_REFUSED(VELKCFileGetKeys(TEST_FILE, pslKey, &pshHash, NULL), -1);

    VELK_ASSERT_INT(pshHash->nPair, ==, 0);
    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
    VELKCSzHashFree(pshHash);
    VELKCSzListFree(pslKey);
}
END_TEST

// Reads the wanted keys split at seps into an emptied hash.
#define GET_KEYS(seps, expected)                                                                \
    do {                                                                                        \
        VELKCHashRemoveAll(pshHash);                                                            \
        VELK_RESET();                                                                           \
        VELK_ASSERT_INT_ERR(VELKCFileGetKeys(TEST_FILE, pslKey, &pshHash, seps), ==, expected); \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                           \
    } while (0)

START_TEST(VELKFileGetKeysFindTest)
{
    static const char *rgszLines[] = {"test1=v1", "test2=\"v2\"", "test3=\"v3\"", "test4<\"v4\"", NULL};
    static const char *rgszKey[] = {"test1", "test2", "test3", "test4"};
    SzList *pslKey = VELKCSzListAlloc(512);
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    VELK_ASSERT_PTR(pshHash, !=, NULL);
    FILE_SUITE_SET_THREE_KEYS("test");
    FILE_SUITE_SET_KEY("test4", "v4", "%s<\"%s\"\n");
    FILE_SUITE_CHECK(TEST_FILE, rgszLines);
    for (int i = 0; i < 4; ++i) {
        VELK_ASSERT_INT(VELKCSzListPush(&pslKey, rgszKey[i]), ==, i);
    }

    // "=" splits the first three lines; "test4<..." has no "=".
    GET_KEYS("=", 3);
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "test1"), "v1");
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "test2"), "v2");
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "test3"), "v3");

    GET_KEYS("<", 1);
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "test4"), "v4");

    GET_KEYS(">", 0);

    GET_KEYS("<=", 4);

    // The caller's key list is left as it was.
    VELK_ASSERT_INT(pslKey->nItem, ==, 4);
    VELKCSzHashFree(pshHash);
    VELKCSzListFree(pslKey);
}
END_TEST

START_TEST(VELKFileGetKeysNotFindTest)
{
    static const char *rgszLines[] = {"test1=v1", "test2=\"v2\"", "test3=\"v3\"", NULL};
    SzList *pslKey = VELKCSzListAlloc(512);
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    VELK_ASSERT_PTR(pshHash, !=, NULL);
    FILE_SUITE_SET_THREE_KEYS("test");
    FILE_SUITE_CHECK(TEST_FILE, rgszLines);

    // Absent keys are no error; "test" is a prefix of every key but none.
    VELK_ASSERT_INT(VELKCSzListPush(&pslKey, "test"), ==, 0);
    VELK_ASSERT_INT(VELKCSzListPush(&pslKey, "test4"), ==, 1);
    GET_KEYS("=", 0);
    GET_KEYS("<", 0);
    GET_KEYS(">", 0);

    VELKCSzHashFree(pshHash);
    VELKCSzListFree(pslKey);
}
END_TEST

TCase *file_get_keys_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKVELKFileGetKeysTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileGetKeysFindTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileGetKeysNotFindTest, 0, 0, 0, 1);
    return tc;
}
