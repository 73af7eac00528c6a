// HASH suite: VELKCHashRemoveAll.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 10

START_TEST(VELKCSzHashRemoveAllNULLArg)
{
    VELK_RESET();
    VELKCHashRemoveAll(NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

START_TEST(VELKCSzHashRemoveAllTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    HashSetPairs(pshHash, rgszKey, rgszVal, PAIR_COUNT, NULL);
    VELK_RESET();
    VELKCHashRemoveAll(pshHash);
    VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pshHash), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *hash_remove_all_test(void)
{
    TCase *tc = tcase_create("hash removed all");
    _tcase_add_test(tc, VELKCSzHashRemoveAllNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashRemoveAllTest, 0, 0, 0, 1);
    return tc;
}
