// FILE suite: VELKCFileReplaceSubStr.
#include "file_suite_data.hpp"

static const char *grgszReplace[] = {"albc", "albcate", "bcal", "www", "kawwwmegy", NULL};

// Replaces a text in the scratch file, expecting result and code, then
// compares the file and checks the ".tmp" sibling.
#define REPLACE(from, to, result, code, lines)                                         \
    do {                                                                               \
        VELK_RESET();                                                                  \
        VELK_ASSERT_INT_ERR(VELKCFileReplaceSubStr(TEST_FILE, (from), (to)), ==, result); \
        VELK_ASSERT_ERR(code);                                                         \
        FILE_SUITE_CHECK(TEST_FILE, (lines));                                          \
        FILE_SUITE_CHECK(TEST_FILE_TMP, grgszReplace);                                 \
    } while (0)

START_TEST(VELKFileReplaceSubStrNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReplaceSubStr(NULL, "abc", "loc"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReplaceSubStr(TEST_FILE, NULL, "loc"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReplaceSubStr(TEST_FILE, "abc", NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // An empty search text counts as a null argument.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReplaceSubStr(TEST_FILE, "", "loc"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(VELKFileReplaceSubStrTest)
{
    static const char *rgszLoc[] = {"alloc", "allocate", "local", "www", "kawwwmegy", NULL};
    static const char *rgszNo[] = {"alloc", "allocate", "local", "no", "kanomegy", NULL};
    static const char *rgszWs[] = {"wsloc", "wslocate", "locws", "no", "kanomegy", NULL};
    static const char *rgszSt[] = {"wsloc", "wslocate", "locws", "no", "kanomest", NULL};
    static const char *rgszLolo[] = {"wsloloc", "wslolocate", "lolocws", "no", "kanomest", NULL};

    FILE_SUITE_WRITE_BOTH(FILE_DATA_REPLACE);

    REPLACE("bc", "loc", 3, ERR_SUCCESS, rgszLoc);
    REPLACE("www", "no", 2, ERR_SUCCESS, rgszNo);
    REPLACE("al", "ws", 3, ERR_SUCCESS, rgszWs);
    REPLACE("gy", "st", 1, ERR_SUCCESS, rgszSt);
    REPLACE("gy", "ks", 0, ERR_KEY_NOT_FOUND, rgszSt);
    // The inserted text is not searched again.
    REPLACE("lo", "lolo", 3, ERR_SUCCESS, rgszLolo);
}
END_TEST

TCase *file_replace_sub_str_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileReplaceSubStrNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKFileReplaceSubStrTest, 0, 0, 0, 1);
    return tc;
}
