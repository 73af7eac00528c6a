// HASH suite: VELKCSzHashRemoveKey.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 100

START_TEST(VELKCSzHashRemoveKeyNULLArg)
{
    SzHash *pHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pHash, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzHashRemoveKey(NULL, "test"), ==, NULL);
    VELK_ASSERT_PTR_ERR(VELKCSzHashRemoveKey(pHash, NULL), ==, NULL);
    VELK_ASSERT_PTR_ERR(VELKCSzHashRemoveKey(pHash, "test"), ==, NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELKCSzHashFree(pHash);
}
END_TEST

// Removes keys at random strides, then checks that exactly the removed ones
// are gone.
START_TEST(VELKCSzHashRemoveKeyTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];
    int rgfRemoved[PAIR_COUNT] = {0};
    int cRemoved = 0;
    SzHash *pHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pHash, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pHash, rgszKey[i], rgszVal[i]), !=, -1);
        VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pHash), ==, i + 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i <= 99; i += rand() % 3 + 1) {
        VELK_RESET();
        const char *szVal = VELKCSzHashRemoveKey(pHash, rgszKey[i]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_STR(szVal, rgszVal[i]);
        rgfRemoved[i] = 1;
        cRemoved++;
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashPairNum(pHash), ==, (100 - cRemoved));
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        const char *szVal = VELKCSzHashGetValue(pHash, rgszKey[i]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        if (rgfRemoved[i]) {
            VELK_ASSERT_PTR(szVal, ==, NULL);
        } else {
            VELK_ASSERT_STR(szVal, rgszVal[i]);
        }
    }
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
    VELKCSzHashFree(pHash);
}
END_TEST

TCase *hash_remove_key_test(void)
{
    TCase *tc = tcase_create("hash remove key");
    _tcase_add_test(tc, VELKCSzHashRemoveKeyNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashRemoveKeyTest, 0, 0, 0, 1);
    return tc;
}
