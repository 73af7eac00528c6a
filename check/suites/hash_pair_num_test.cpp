// HASH suite: VELKCSzHashPairNum.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 100

// The suite spells its null argument as ((void *)0); this overload lets
// that spelling call the table function in C++.
static int VELKCSzHashPairNum(void *) { return VELKCSzHashPairNum(static_cast<const SzHash *>(NULL)); }

START_TEST(VELKCSzHashPairNumNULLArg)
{
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(((void *)0)), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

// Insertions count, an update does not, and each removal counts down.
START_TEST(VELKCSzHashPairNumTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    HashSetPairs(pshHash, rgszKey, rgszVal, PAIR_COUNT, AssertPairCount);
    RandomTextFree(const_cast<char *>(rgszVal[0]));
    rgszVal[0] = RandomTextGen();
    VELK_ASSERT_PTR(rgszVal[0], !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, rgszKey[0], rgszVal[0]), !=, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pshHash), ==, 100);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        const char *szVal = VELKCSzHashRemoveKey(pshHash, rgszKey[i]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_STR(szVal, rgszVal[i]);
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pshHash), ==, 100 - i - 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *hash_pair_num_test(void)
{
    TCase *tc = tcase_create("hash pair num");
    _tcase_add_test(tc, VELKCSzHashPairNumNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashPairNumTest, 0, 0, 0, 1);
    return tc;
}
