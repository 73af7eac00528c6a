// HASH suite: VELKCSzHashGetValue.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 1000

START_TEST(VELKCSzHashGetValueNULLArg)
{
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzHashGetValue(NULL, "test_key"), ==, NULL);
    VELK_ASSERT_PTR_ERR(VELKCSzHashGetValue(pshHash, NULL), ==, NULL);
    VELK_ASSERT_PTR_ERR(VELKCSzHashGetValue(pshHash, "test_key"), ==, NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELKCSzHashFree(pshHash);
}
END_TEST

// Values read back right after each insertion and again, at random, once
// the table has grown several times.
START_TEST(VELKCSzHashGetValueTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    HashSetPairs(pshHash, rgszKey, rgszVal, PAIR_COUNT, AssertValueOf);
    for (int i = 0; i < PAIR_COUNT; i++) {
        AssertValueOf(pshHash, rgszKey, rgszVal, rand() % PAIR_COUNT);
    }
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *hash_get_value_test(void)
{
    TCase *tc = tcase_create("hash get");
    _tcase_add_test(tc, VELKCSzHashGetValueNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashGetValueTest, 0, 0, 0, 1);
    return tc;
}
