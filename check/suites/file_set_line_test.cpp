// FILE suite: VELKCFileSetLine.
#include "file_suite_data.hpp"

#define NO_FILE TEST_FILE ".no"

// Sets a line of the scratch file, expecting result and code, then compares
// the file with lines and the ".tmp" sibling with tmpLines.
#define SET_LINE(pattern, line, flags, result, code, lines, tmpLines) \
    FILE_SUITE_EXPECT(VELKCFileSetLine(TEST_FILE, (pattern), (line), (flags)), result, code, lines, tmpLines)

START_TEST(VELKFileSetLineNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileSetLine(NULL, "z", "s", 0), -1);

    FILE_SUITE_REFUSED(VELKCFileSetLine(TEST_FILE, NULL, "s", 0), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileSetLineTest)
{
    static const char *rgszFourLines[] = {"abc", "abcd", "Def", "dEfBc", NULL};
    static const char *rgszFirst[] = {"ab123", "abcd=", "Def=", "Dewww=", NULL};
    static const char *rgszLast[] = {"ab123", "abcd=", "Def=", "dEfiNe", NULL};
    static const char *rgszCaseless[] = {"ab123", "abcd=", "KovA", "dEfiNe", NULL};
    static const char *rgszDeleted[] = {"abcd=", "KovA", "dEfiNe", NULL};
    static const char *rgszSuffix[] = {"abc", "abcd", "Def", "unDeF", NULL};
    static const char *rgszSuffixFirst[] = {"x", "abcd", "Def", "unDeF", NULL};
    static const char *rgszCaselessLast[] = {"x", "abcd", "Def", "y", NULL};

    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);
    SET_LINE("abc", "ab123", 0, 1, ERR_SUCCESS, rgszFirst, grgszFourKeysLines);
    SET_LINE("De", "dEfiNe", MATCH_FLAG_LAST, 1, ERR_SUCCESS, rgszLast, grgszFourKeysLines);
    SET_LINE("de", "KovA", MATCH_FLAG_IGNORE_CASE, 1, ERR_SUCCESS, rgszCaseless, grgszFourKeysLines);
    SET_LINE("z", "x", 0, 0, ERR_KEY_NOT_FOUND, rgszCaseless, grgszFourKeysLines);
    // A null line deletes the matching line.
    SET_LINE("ab", NULL, MATCH_FLAG_PREFIX, 1, ERR_SUCCESS, rgszDeleted, grgszFourKeysLines);

    RemoveTestFile();
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_LINES);
    SET_LINE("Bc", "unDeF", MATCH_FLAG_SUFFIX, 1, ERR_SUCCESS, rgszSuffix, rgszFourLines);
    SET_LINE("bc", "x", MATCH_FLAG_SUFFIX, 1, ERR_SUCCESS, rgszSuffixFirst, rgszFourLines);
    SET_LINE("DEF", "y", MATCH_FLAG_IGNORE_CASE | MATCH_FLAG_LAST, 1, ERR_SUCCESS, rgszCaselessLast, rgszFourLines);
}
END_TEST

START_TEST(VELKFileSetLineNoFile)
{
    static const char *rgszAbc[] = {"abc", NULL};
    static const char *rgszEmpty[] = {NULL};

    VELK_ASSERT_INT(VELKCExec("/bin/rm", "-f", NO_FILE, NULL, NULL), ==, 0);

    // A missing file is created holding the line.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileSetLine(NO_FILE, "abc", "abc", MATCH_FLAG_LAST), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(NO_FILE, rgszAbc);

    // Now the file exists and the null line deletes its one line.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileSetLine(NO_FILE, "abc", NULL, MATCH_FLAG_LAST), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(NO_FILE, rgszEmpty);

    // A missing file and a null line give an empty file.
    VELK_ASSERT_INT(VELKCExec("/bin/rm", "-f", NO_FILE, NULL, NULL), ==, 0);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileSetLine(NO_FILE, "abc", NULL, 0), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(NO_FILE, rgszEmpty);

    VELK_ASSERT_INT(VELKCExec("/bin/rm", "-f", NO_FILE, NULL, NULL), ==, 0);
}
END_TEST

TCase *file_set_line_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileSetLineNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetLineTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileSetLineNoFile, 0, 0, 0, 1);
    return tc;
}
