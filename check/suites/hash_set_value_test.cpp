// HASH suite: VELKCSzHashSetValue, on a table made by the case's fixture.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 1000

static SzHash *pshHash = NULL;

static void HashSetValueSetup(void) { pshHash = VELKCSzHashAlloc(512); }

static void HashSetValueTeardown(void)
{
    VELKCSzHashFree(pshHash);
    pshHash = NULL;
}

START_TEST(VELKCSzHashSetValueNULLArg)
{
    SzHash *pshHashNull = NULL;

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(NULL, "test_key", "test_val"), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, NULL, "test_val"), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, "test_key", NULL), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHashNull, "test_key", "test_val"), ==, -1);
}
END_TEST

START_TEST(VELKCSzHashSetValueTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    HashSetPairs(pshHash, rgszKey, rgszVal, PAIR_COUNT, AssertPairCount);
    for (int i = 0; i < PAIR_COUNT; i++) {
        AssertValueOf(pshHash, rgszKey, rgszVal, i);
    }
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
}
END_TEST

TCase *hash_set_value_test(void)
{
    TCase *tc = tcase_create("hash set");
    tcase_add_checked_fixture(tc, HashSetValueSetup, HashSetValueTeardown);
    _tcase_add_test(tc, VELKCSzHashSetValueNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashSetValueTest, 0, 0, 0, 1);
    return tc;
}
