// HASHSET suite: VELKCSzHashSetContains.
#include "hash_test_texts.hpp"

#define ITEM_COUNT 1000
#define PICK_COUNT 100

START_TEST(VELKCSzHashSetContainsNULLArg)
{
    SzHashSet *pshHashSet = VELKCSzHashSetAlloc(512);

    VELK_ASSERT_PTR(pshHashSet, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetContains(NULL, "test_key"), ==, 0);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetContains(pshHashSet, NULL), ==, 0);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetContains(pshHashSet, "test_key"), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELKCSzHashSetFree(pshHashSet);
}
END_TEST

START_TEST(VELKCSzHashSetContainsTest)
{
    const char *rgszVal[ITEM_COUNT];
    SzHashSet *pshHashSet = VELKCSzHashSetAlloc(512);

    VELK_ASSERT_PTR(pshHashSet, !=, NULL);
    RandomTextsGen(rgszVal, ITEM_COUNT);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHashSet, rgszVal[i]), ==, 0);
        VELK_ASSERT(VELKCSzHashSetContains(pshHashSet, rgszVal[i]));
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i < PICK_COUNT; i++) {
        const int idxKey = rand() % ITEM_COUNT;
        VELK_RESET();
        VELK_ASSERT(VELKCSzHashSetContains(pshHashSet, rgszVal[idxKey]));
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    RandomTextsFree(rgszVal, ITEM_COUNT);
    VELKCSzHashSetFree(pshHashSet);
}
END_TEST

TCase *hashset_contains_test(void)
{
    TCase *tc = tcase_create("hashset constains");
    _tcase_add_test(tc, VELKCSzHashSetContainsNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetContainsTest, 0, 0, 0, 1);
    return tc;
}
