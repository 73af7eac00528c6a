// FILE suite: VELKCFileSetLineByKey.
#include "file_suite_data.hpp"

static const char *grgszFivePairs[] = {"k1=v1", "k2=v2", "k3=v3", "k4=v4", "k5=v5", NULL};

// Sets the lines of the scratch file whose tokens (at "=\n") match the two
// keys, expecting result and code, then compares the file and checks the
// ".tmp" sibling.
#define SET_BY_KEY(key, value, line, result, lines)                                                            \
    do {                                                                                                       \
        VELKCSzListRemoveAll(pslKey);                                                                          \
        FILE_SUITE_PUSH(pslKey, (key));                                                                        \
        FILE_SUITE_PUSH(pslKey, (value));                                                                      \
        FILE_SUITE_EXPECT(VELKCFileSetLineByKey(TEST_FILE, pslKey, (line), "=\n"), result, ERR_SUCCESS, lines, \
                          grgszFivePairs);                                                                     \
    } while (0)

START_TEST(VELKFileSetLineByKeyNULLArg)
{
    SzList *pslKey = VELKCSzListAlloc(512);
    SzList *pslEmpty = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    VELK_ASSERT_PTR(pslEmpty, !=, NULL);
    FILE_SUITE_PUSH(pslKey, "abc");
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileSetLineByKey(NULL, pslKey, "x", "=\n"), -1);

    FILE_SUITE_REFUSED(VELKCFileSetLineByKey(TEST_FILE, NULL, "x", "=\n"), -1);

    FILE_SUITE_REFUSED(VELKCFileSetLineByKey(TEST_FILE, pslKey, "x", NULL), -1);

    // An empty key list would match every line.
    FILE_SUITE_REFUSED(VELKCFileSetLineByKey(TEST_FILE, pslEmpty, "x", "=\n"), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
    VELKCSzListFree(pslKey);
    VELKCSzListFree(pslEmpty);
}
END_TEST

START_TEST(VELKFileSetLineByKeyTest)
{
    static const char *rgszFirst[] = {"k1=v2", "k2=v2", "k3=v3", "k4=v4", "k5=v5", NULL};
    static const char *rgszLast[] = {"k1=v2", "k2=v2", "k3=v3", "k4=v4", "k5=v9", NULL};
    static const char *rgszThird[] = {"k1=v2", "k2=v2", "k3=v1", "k4=v4", "k5=v9", NULL};
    static const char *rgszDeleted[] = {"k1=v2", "k2=v2", "k4=v4", "k5=v9", NULL};
    static const char *rgszBoth[] = {"same=v2", "same=v2", "k4=v4", "k5=v9", NULL};
    SzList *pslKey = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslKey, !=, NULL);
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FIVE_PAIRS);

    SET_BY_KEY("k1", "v1", "k1=v2", 1, rgszFirst);
    SET_BY_KEY("k5", "v5", "k5=v9", 1, rgszLast);
    SET_BY_KEY("k3", "v3", "k3=v1", 1, rgszThird);
    // A null line deletes the line.
    SET_BY_KEY("k3", "v1", NULL, 1, rgszDeleted);
    // An empty key is a wildcard: every line with the value v2 is replaced.
    SET_BY_KEY("", "v2", "same=v2\n", 2, rgszBoth);
    // Nothing matches: 0 without an error, the file as it was.
    SET_BY_KEY("k4", "v9", "x", 0, rgszBoth);

    VELKCSzListFree(pslKey);
}
END_TEST

TCase *file_set_line_by_key_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileSetLineByKeyNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetLineByKeyTest, 0, 0, 0, 1);
    return tc;
}
