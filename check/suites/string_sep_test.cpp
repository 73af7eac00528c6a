// STRING suite: VELKCStrSep.
#include "../kovacore_test.h"

START_TEST(VELKCStrSepTestNULLArgs)
{
    SzList *pList = VELKCSzListAlloc(0);
    SzList *pNullList = NULL;

    VELK_ASSERT_PTR(pList, !=, NULL);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep("a,b", ",", NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep("a,b", ",", &pNullList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep("a,b", NULL, &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep(NULL, ",", &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_INT(pList->nItem, ==, 0);

    VELKCSzListFree(pList);
}
END_TEST

START_TEST(VELKCStrSepTest)
{
    const char *rgszItems[] = {"ListTest0", "", "ListTest2", "ListTest3"};
    const char *rgszWhole[] = {"ListTest0 ListTest1"};
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);

    // Empty tokens are kept, in their place.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep("ListTest0,,ListTest2,ListTest3", ",", &pList), ==, 4);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT(ListSameWithStrArray(pList, rgszItems, 4) == 0);
    VELK_ASSERT_STR(pList->pszItem[1], "");
    VELK_ASSERT_STR(pList->pszItem[3], "ListTest3");

    // No separator: the whole input is the one token.
    VELKCSzListRemoveAll(pList);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrSep("ListTest0 ListTest1", ",", &pList), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT(ListSameWithStrArray(pList, rgszWhole, 1) == 0);

    VELKCSzListFree(pList);
}
END_TEST

TCase *string_sep_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKCStrSepTestNULLArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCStrSepTest, 0, 0, 0, 1);
    return tc;
}
