// HASHSET suite: VELKCSzHashSetAdd, on a set made by the case's fixture.
#include "hash_test_texts.hpp"

#define ITEM_COUNT 1000

static SzHashSet *pshHashSet = NULL;

static void HashSetAddSetup(void) { pshHashSet = VELKCSzHashSetAlloc(512); }

static void HashSetAddTeardown(void)
{
    VELKCSzHashSetFree(pshHashSet);
    pshHashSet = NULL;
}

START_TEST(VELKCSzHashSetAddNULLArg)
{
    SzHashSet *pshHashSetNull = NULL;

    VELK_ASSERT_PTR(pshHashSet, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(NULL, "test_key"), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHashSet, NULL), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHashSetNull, "test_key"), ==, -1);
}
END_TEST

START_TEST(VELKCSzHashSetAddTest)
{
    const char *rgszVal[ITEM_COUNT];

    VELK_ASSERT_PTR(pshHashSet, !=, NULL);
    RandomTextsGen(rgszVal, ITEM_COUNT);
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetAdd(&pshHashSet, rgszVal[i]), ==, 0);
        VELK_ASSERT_INT_ERR(VELKCSzHashSetItemNum(pshHashSet), ==, i + 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i < ITEM_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT(VELKCSzHashSetContains(pshHashSet, rgszVal[i]));
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetContains(pshHashSet, "the value should not exist."), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    RandomTextsFree(rgszVal, ITEM_COUNT);
}
END_TEST

TCase *hashset_add_test(void)
{
    TCase *tc = tcase_create("hashset add");
    tcase_add_checked_fixture(tc, HashSetAddSetup, HashSetAddTeardown);
    _tcase_add_test(tc, VELKCSzHashSetAddNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetAddTest, 0, 0, 0, 1);
    return tc;
}
