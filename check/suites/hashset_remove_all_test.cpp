// HASHSET suite: VELKCSzHashSetRemoveAll.
#include "hash_test_texts.hpp"

#define ITEM_COUNT 100

START_TEST(VELKCSzHashSetRemoveAllNULLArg)
{
    VELK_RESET();
    VELKCSzHashSetRemoveAll(NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

START_TEST(VELKCSzHashSetRemoveAllTest)
{
    const char *rgszVal[ITEM_COUNT];
    SzHashSet *pshHash = VELKCSzHashSetAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    RandomTextsGen(rgszVal, ITEM_COUNT);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHash, rgszVal[i]), ==, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_RESET();
    VELKCSzHashSetRemoveAll(pshHash);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetItemNum(pshHash), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_ASSERT_INT_ERR(VELKCSzHashSetContains(pshHash, rgszVal[i]), ==, 0);
    }
    RandomTextsFree(rgszVal, ITEM_COUNT);
    VELKCSzHashSetFree(pshHash);
}
END_TEST

TCase *hashset_remove_all_test(void)
{
    TCase *tc = tcase_create("hashset removed all");
    _tcase_add_test(tc, VELKCSzHashSetRemoveAllNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetRemoveAllTest, 0, 0, 0, 1);
    return tc;
}
