// STRING suite: VELKCStrCat.
#include "../kovacore_test.h"

#include <cstdlib>

START_TEST(VELKStrCatTestNULLArgs)
{
    char *szDest = NULL;
    int cbDest = 0;

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrCat(NULL, &cbDest, "_Cat_Me"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrCat(&szDest, NULL, "_Cat_Me"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // With no buffer yet the call allocates one.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrCat(&szDest, &cbDest, "_Cat_Me"), ==, 0);
    VELK_ASSERT_STR(szDest, "_Cat_Me");
    VELK_ASSERT_INT(cbDest, ==, 1024);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    free(szDest);
}
END_TEST

START_TEST(VELKStrCatTestDest)
{
    int cbDest = 16;
    char *szDest = (char *)malloc(cbDest);

    VELK_ASSERT_PTR(szDest, !=, NULL);
    szDest[0] = '\0';
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrCat(&szDest, &cbDest, "_Cat_Me"), ==, 0);
    VELK_ASSERT_STR(szDest, "_Cat_Me");
    VELK_ASSERT_INT(cbDest, ==, 16);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    free(szDest);
}
END_TEST

TCase *string_cat_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrCatTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrCatTestDest, 0, 0, 0, 1);
    return tc;
}
