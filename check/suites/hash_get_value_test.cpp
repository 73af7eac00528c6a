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
    RandomTextsGen(rgszKey, PAIR_COUNT);
    RandomTextsGen(rgszVal, PAIR_COUNT);
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, rgszKey[i], rgszVal[i]), !=, -1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_RESET();
        const char *szVal = VELKCSzHashGetValue(pshHash, rgszKey[i]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_STR(szVal, rgszVal[i]);
    }
    for (int i = 0; i < PAIR_COUNT; i++) {
        const int idxKey = rand() % PAIR_COUNT;
        VELK_RESET();
        const char *szVal = VELKCSzHashGetValue(pshHash, rgszKey[idxKey]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_STR(szVal, rgszVal[idxKey]);
    }
    RandomTextsFree(rgszKey, PAIR_COUNT);
    RandomTextsFree(rgszVal, PAIR_COUNT);
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
