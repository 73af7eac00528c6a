// FILE suite: VELKCFileSetKeys.
#include "file_suite_data.hpp"

// Sets the keys of hash and drops those of remove, then compares the whole
// file, comment lines included, and checks the ".tmp" sibling.
#define SET_KEYS(hash, remove, format, lines)                                                \
    do {                                                                                     \
        VELK_RESET();                                                                        \
        VELK_ASSERT_INT_ERR(VELKCFileSetKeys(TEST_FILE, (hash), (remove), (format)), ==, 1); \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                        \
        VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE, (lines)) == 0);             \
        FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);                                 \
    } while (0)

#define SET_VALUE(hash, key, value) VELK_ASSERT_INT(VELKCSzHashSetValue(&(hash), (key), (value)), >=, 0)

START_TEST(VELKFileSetKeysNULLArg)
{
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    SET_VALUE(pshHash, "k1", "v1");
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileSetKeys(NULL, pshHash, NULL, NULL), -1);

    FILE_SUITE_REFUSED(VELKCFileSetKeys(TEST_FILE, NULL, NULL, "%s=%s"), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
    VELKCSzHashFree(pshHash);
}
END_TEST

START_TEST(VELKFileSetKeysTest)
{
    // k1, k2, k3 and k4 fall in slots 3, 11, 19 and 27: appended in that order.
    static const char *rgszSet[] = {"abc=", "abcd=", "Def=", "Dewww=", "k1=v1", "k2=v2", "k3=v3", NULL};
    static const char *rgszReset[] = {"abc=",       "abcd=", "Def=",    "Dewww=", "k1=v1",
                                      "k2=value20", "k3=v3", "k4=vvvv", NULL};
    static const char *rgszNoNewline[] = {"abc=",       "abcd=", "Def=",    "Dewww=", "k1=v1",
                                          "k2=value20", "k3=v3", "k4=vvvv", "k5=v5",  NULL};
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzHash *pshMore = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pshMore, !=, NULL);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    SET_VALUE(pshHash, "k1", "v1");
    SET_VALUE(pshHash, "k2", "v2");
    SET_VALUE(pshHash, "k3", "v3");
    SET_KEYS(pshHash, NULL, NULL, rgszSet);
    // The caller's table is left as it was.
    VELK_ASSERT_INT(VELKCSzHashPairNum(pshHash), ==, 3);

    // Existing keys are replaced in place, new ones appended.
    SET_VALUE(pshHash, "k2", "value20");
    SET_VALUE(pshHash, "k4", "vvvv");
    SET_KEYS(pshHash, NULL, NULL, rgszReset);

    // A format without its newline still ends every line.
    SET_VALUE(pshMore, "k5", "v5");
    SET_KEYS(pshMore, NULL, "%s=%s", rgszNoNewline);

    VELKCSzHashFree(pshHash);
    VELKCSzHashFree(pshMore);
}
END_TEST

START_TEST(VELKFileSetKeysWithDel1Test)
{
    // "abc" goes but "abcd" stays: keys match exactly.
    static const char *rgszDel[] = {"abcd=", "Dewww=", "k1=v1", NULL};
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzHash *pshRemove = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pshRemove, !=, NULL);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    SET_VALUE(pshHash, "k1", "v1");
    SET_VALUE(pshRemove, "abc", "");
    SET_VALUE(pshRemove, "Def", "");
    SET_KEYS(pshHash, pshRemove, NULL, rgszDel);
    VELK_ASSERT_INT(VELKCSzHashPairNum(pshRemove), ==, 2);

    VELKCSzHashFree(pshHash);
    VELKCSzHashFree(pshRemove);
}
END_TEST

START_TEST(VELKFileSetKeysWithDel2Test)
{
    // Comment lines are copied even when they look like a key to drop; a key
    // to drop that is not in the file changes nothing.
    static const char *rgszComment[] = {"#Dewww=x", "abc=", "abcd=", "Def=", "Dewww=", NULL};
    static const char *rgszDel[] = {"#Dewww=x", "abc=1", "abcd=", "Def=", "new=2", NULL};
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzHash *pshRemove = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pshRemove, !=, NULL);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, NULL, "#Dewww=x", 0), ==, 1);
    VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE, rgszComment) == 0);

    SET_VALUE(pshHash, "abc", "1");
    SET_VALUE(pshHash, "new", "2");
    SET_VALUE(pshRemove, "Dewww", "");
    SET_VALUE(pshRemove, "zzz", "");
    SET_KEYS(pshHash, pshRemove, NULL, rgszDel);

    VELKCSzHashFree(pshHash);
    VELKCSzHashFree(pshRemove);
}
END_TEST

TCase *file_set_keys_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileSetKeysNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetKeysTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetKeysWithDel1Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetKeysWithDel2Test, 0, 0, 0, 1);
    return tc;
}
