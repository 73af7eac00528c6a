// HASHSET suite: VELKCSzHashSetToList.
#include "hash_test_texts.hpp"

#define ITEM_COUNT 100

START_TEST(VELKCSzHashSetToListNULLArg)
{
    SzHashSet *pshHash = VELKCSzHashSetAlloc(512);
    SzList *pslList = VELKCSzListAlloc(512);
    SzList *pslListNull = NULL;

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetToList(NULL, &pslList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetToList(pshHash, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetToList(pshHash, &pslListNull), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELKCSzListFree(pslList);
    VELKCSzHashSetFree(pshHash);
}
END_TEST

// The list matches the set after every addition and every removal.
START_TEST(VELKCSzHashSetToListTest)
{
    const char *rgszVal[ITEM_COUNT];
    SzHashSet *pshHash = VELKCSzHashSetAlloc(512);
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pslList, !=, NULL);
    RandomTextsGen(rgszVal, ITEM_COUNT);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHash, rgszVal[i]), ==, 0);
        VELKCSzListRemoveAll(pslList);
        VELK_ASSERT_INT_ERR(VELKCSzHashSetToList(pshHash, &pslList), ==, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_LIST_SAME(ListSameWithStrArray(pslList, rgszVal, i + 1));
    }
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetRemove(pshHash, rgszVal[i]), ==, 0);
        VELKCSzListRemoveAll(pslList);
        VELK_ASSERT_INT_ERR(VELKCSzHashSetToList(pshHash, &pslList), ==, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_LIST_SAME(ListSameWithStrArray(pslList, rgszVal + i + 1, ITEM_COUNT - i - 1));
    }
    RandomTextsFree(rgszVal, ITEM_COUNT);
    VELKCSzListFree(pslList);
    VELKCSzHashSetFree(pshHash);
}
END_TEST

TCase *hashset_to_list_test(void)
{
    TCase *tc = tcase_create("hashset_to_list_test");
    _tcase_add_test(tc, VELKCSzHashSetToListNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetToListTest, 0, 0, 0, 1);
    return tc;
}
