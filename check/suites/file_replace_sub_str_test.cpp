// FILE suite: VELKCFileReplaceSubStr.
#include "file_suite_data.hpp"

static const char *grgszReplace[] = {"albc", "albcate", "bcal", "www", "kawwwmegy", NULL};

// Replaces a text in the scratch file, expecting result and code, then
// compares the file and checks the ".tmp" sibling.
#define REPLACE(from, to, result, code, lines) \
    FILE_SUITE_EXPECT(VELKCFileReplaceSubStr(TEST_FILE, (from), (to)), result, code, lines, grgszReplace)

START_TEST(VELKFileReplaceSubStrNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileReplaceSubStr(NULL, "abc", "loc"), -1);

    FILE_SUITE_REFUSED(VELKCFileReplaceSubStr(TEST_FILE, NULL, "loc"), -1);

    FILE_SUITE_REFUSED(VELKCFileReplaceSubStr(TEST_FILE, "abc", NULL), -1);

    // An empty search text counts as a null argument.
    FILE_SUITE_REFUSED(VELKCFileReplaceSubStr(TEST_FILE, "", "loc"), -1);

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
