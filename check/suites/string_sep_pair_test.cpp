// STRING suite: VELKCStrSepPair.
#include "../kovacore_test.h"

START_TEST(VELKCStrSepPairTestNULLArgs)
{
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSepPair("ListTest0=ListTest1", NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSepPair(NULL, &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_INT(pList->nItem, ==, 0);

    VELKCSzListFree(pList);
}
END_TEST

START_TEST(VELKCStrSepPairTest)
{
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);

    // Key and value are trimmed of the whitespace around them.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSepPair("\n   ListTest0  \n = \n  ListTest1    \n", &pList), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pList->nItem, ==, 2);
    VELK_ASSERT_STR(pList->pszItem[0], "ListTest0");
    VELK_ASSERT_STR(pList->pszItem[1], "ListTest1");

    // An empty key is not a pair.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSepPair("=ListTest0,ListTest1", &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_INT(pList->nItem, ==, 2);

    VELKCSzListFree(pList);
}
END_TEST

TCase *string_sep_pair_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKCStrSepPairTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCStrSepPairTest, 0, 0, 0, 1);
    return tc;
}
