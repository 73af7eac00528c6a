// LIST suite: VELKCSzListCaseFind.
#include "../kovacore_test.h"
#include "list_test_data.h"

START_TEST(VELKSzListCaseFindNULLArg)
{
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListCaseFind(NULL, "ListTest1"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListCaseFind(pslList, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELKCSzListFree(pslList);
}
END_TEST

START_TEST(VELKSzListCaseFindTest)
{
    SzList *pslUnicode = VELKCSzListAlloc(512);
    SzList *pslUnsorted = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslUnicode, !=, NULL);
    VELK_ASSERT_PTR(pslUnsorted, !=, NULL);
    VELKCSzListSortItems(pslUnicode, OP_UNICODE_SORTED);

    SzList **rgppsl[] = {&pslUnicode, &pslUnsorted};
    for (int i = 0; i < 2; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzListPush(rgppsl[i], "ListTest1"), >=, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzListPush(rgppsl[i], "ListTest2"), >=, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);

        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzListCaseFind(*rgppsl[i], "ListTest0"), <, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzListCaseFind(*rgppsl[i], "ListTest1"), >=, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELKCSzListFree(pslUnicode);
    VELKCSzListFree(pslUnsorted);
}
END_TEST

TCase *list_case_find_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKSzListCaseFindNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListCaseFindTest, 0, 0, 0, 1);
    return tc;
}
