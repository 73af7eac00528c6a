// HASHSET suite: VELKCSzHashSetRemove.
#include "hash_test_texts.hpp"

#define ITEM_COUNT 100

START_TEST(VELKCSzHashSetRemoveNULLArg)
{
    SzHashSet *pHashSet = VELKCSzHashSetAlloc(512);

    VELK_ASSERT_PTR(pHashSet, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetRemove(NULL, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetRemove(pHashSet, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetRemove(pHashSet, "test"), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELKCSzHashSetFree(pHashSet);
}
END_TEST

// Removes items at random strides, then checks that exactly the removed
// ones are gone.
START_TEST(VELKCSzHashSetRemoveTest)
{
    const char *rgszVal[ITEM_COUNT];
    int rgfRemoved[ITEM_COUNT] = {0};
    int cRemoved = 0;
    SzHashSet *pHashSet = VELKCSzHashSetAlloc(512);

    VELK_ASSERT_PTR(pHashSet, !=, NULL);
    RandomTextsGen(rgszVal, ITEM_COUNT);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pHashSet, rgszVal[i]), ==, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i <= 99; i += rand() % 3 + 1) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetRemove(pHashSet, rgszVal[i]), ==, 0);
        rgfRemoved[i] = 1;
        cRemoved++;
        VELK_ASSERT_INT_ERR(VELKCSzHashSetItemNum(pHashSet), ==, (100 - cRemoved));
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i < ITEM_COUNT; i++) {
        const int isContains = VELKCSzHashSetContains(pHashSet, rgszVal[i]);
        VELK_ASSERT_INT(isContains, ==, !rgfRemoved[i]);
    }
    RandomTextsFree(rgszVal, ITEM_COUNT);
    VELKCSzHashSetFree(pHashSet);
}
END_TEST

TCase *hashset_remove_test(void)
{
    TCase *tc = tcase_create("hashset remove");
    _tcase_add_test(tc, VELKCSzHashSetRemoveNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetRemoveTest, 0, 0, 0, 1);
    return tc;
}
