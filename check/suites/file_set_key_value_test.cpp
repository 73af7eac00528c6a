// FILE suite: VELKCFileSetKeyValue.
#include "file_suite_data.hpp"

#include <stdio.h>

// Sets a key in the scratch file, then compares the whole file and checks
// that the ".tmp" sibling still holds the four keys.
#define SET_KEY(key, value, format, lines)                                                              \
    FILE_SUITE_EXPECT(VELKCFileSetKeyValue(TEST_FILE, (key), (value), (format)), 1, ERR_SUCCESS, lines, \
                      grgszFourKeysLines)

START_TEST(VELKFileSetKeyValueNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileSetKeyValue(NULL, "abc", "v", NULL), -1);

    FILE_SUITE_REFUSED(VELKCFileSetKeyValue(TEST_FILE, NULL, "v", NULL), -1);

    FILE_SUITE_REFUSED(VELKCFileSetKeyValue(TEST_FILE, "abc", NULL, NULL), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileSetKeyValueTest)
{
    static const char *rgszK1[] = {"abc=", "abcd=", "Def=", "Dewww=", "k1=v1", NULL};
    static const char *rgszK1Again[] = {"abc=", "abcd=", "Def=", "Dewww=", "k1=v11", NULL};
    static const char *rgszK2[] = {"abc=", "abcd=", "Def=", "Dewww=", "k1=v11", "k2=\"v2\"", NULL};
    static const char *rgszK3[] = {"abc=", "abcd=", "Def=", "Dewww=", "k1=v11", "k2=\"v2\"", "k3===[v3]", NULL};
    static const char *rgszAbc[] = {"abc=x", "abcd=", "Def=", "Dewww=", "k1=v11", "k2=\"v2\"", "k3===[v3]", NULL};
    static const char *rgszDup[] = {"abc=x",     "abcd=",     "Def=",   "Dewww=", "k1=v11",
                                    "k2=\"v2\"", "k3===[v3]", "k1=dup", NULL};
    static const char *rgszNoDup[] = {"abc=x", "abcd=", "Def=", "Dewww=", "k1=\"v1\"", "k2=\"v2\"", "k3===[v3]", NULL};
    static const char *rgszT1K1[] = {"t1=t1", "k1=v1", NULL};
    static const char *rgszT2K1[] = {"t1=t2", "k1=v1", NULL};
    static const char *rgszSpaced[] = {"t1=t2", "k1=v1", " k4 = v4", NULL};
    static const char *rgszSpacedSet[] = {"t1=t2", "k1=v1", " k4 =v5", NULL};
    char szBuf[64];
    FILE *fp;

    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    SET_KEY("k1", "v1", NULL, rgszK1);
    SET_KEY("k1", "v11", NULL, rgszK1Again);
    SET_KEY("k2", "\"v2\"", NULL, rgszK2);
    SET_KEY("k3", "v3", "%s===[%s]\n", rgszK3);

    // Everything after the first "=" is the value.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetKeyValue(TEST_FILE, "k3", szBuf, sizeof(szBuf), 0), ==, 7);
    VELK_ASSERT(strcmp(szBuf, "==[v3]") == 0);

    // "abc" is a prefix of "abcd" but only its own line changes.
    SET_KEY("abc", "x", NULL, rgszAbc);

    // A second line of k1 collapses into the first.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, NULL, "k1=dup", MATCH_FLAG_AFTER), ==, 1);
    FILE_SUITE_CHECK(TEST_FILE, rgszDup);
    SET_KEY("k1", "v1", "%s=\"%s\"\n", rgszNoDup);

    // A file without a final newline gets exactly one before the new line.
    fp = fopen(TEST_FILE, "w");
    VELK_ASSERT_PTR(fp, !=, NULL);
    VELK_ASSERT_INT(fprintf(fp, "t1=t1"), ==, 5);
    VELK_ASSERT_INT(fclose(fp), ==, 0);
    SET_KEY("k1", "v1", NULL, rgszT1K1);
    SET_KEY("t1", "t2", NULL, rgszT2K1);

    // The key is written back as the file spells it, blanks included.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddLine(TEST_FILE, NULL, " k4 = v4", MATCH_FLAG_AFTER), ==, 1);
    FILE_SUITE_CHECK(TEST_FILE, rgszSpaced);
    SET_KEY("k4", "v5", NULL, rgszSpacedSet);
}
END_TEST

TCase *file_set_key_value_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileSetKeyValueNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetKeyValueTest, 0, 0, 0, 1);
    return tc;
}
