// STRING suite: VELKCStrJoin.
#include "../kovacore_test.h"

#include <cstdlib>

START_TEST(VELKStrJoinTestNULLArgs)
{
    char *rgszItems[] = {(char *)"aa", NULL, (char *)"cc"};
    char *rgszNull[] = {NULL, NULL};
    char *szOutStr = NULL;
    int cbSize = 0;
    char szSmallBuf[8];
    char *szSmall = szSmallBuf;

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(NULL, 3, ",", &szOutStr, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 0, ",", &szOutStr, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 3, NULL, &szOutStr, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 3, ",", NULL, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // A buffer with no declared size.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 3, ",", &szSmall, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // Nothing to join.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszNull, 2, ",", &szOutStr, &cbSize), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_PTR(szOutStr, ==, NULL);

    // A null item is skipped along with its separator. The size counts a
    // separator after every item, the cut last one included.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 3, ",", &szOutStr, &cbSize), ==, 0);
    VELK_ASSERT_STR(szOutStr, "aa,cc");
    VELK_ASSERT_INT(cbSize, ==, 7);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    free(szOutStr);
}
END_TEST

// Joins three names into szOutStr, a buffer of cbSize bytes or null for one
// the join allocates, checks the text and frees the buffer.
static void CheckJoinNames(char *szOutStr, int cbSize)
{
    char *rgszItems[] = {(char *)"Amy", (char *)"Alan", (char *)"Rony"};

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrJoin(rgszItems, 3, ",", &szOutStr, &cbSize), ==, 0);
    VELK_ASSERT_STR(szOutStr, "Amy,Alan,Rony");
    VELK_ASSERT_INT(14, <=, cbSize);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    free(szOutStr);
}

START_TEST(VELKStrJoinTestOutStr)
{
    int cbSize = 32;
    char *szOutStr = (char *)malloc(cbSize);

    VELK_ASSERT_PTR(szOutStr, !=, NULL);
    CheckJoinNames(szOutStr, cbSize);
}
END_TEST

START_TEST(VELKStrJoinTestOutStrNULL) { CheckJoinNames(NULL, 0); }
END_TEST

TCase *string_join_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrJoinTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrJoinTestOutStr, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrJoinTestOutStrNULL, 0, 0, 0, 1);
    return tc;
}
