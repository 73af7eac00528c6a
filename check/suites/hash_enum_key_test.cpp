// HASH suite: VELKCSzHashEnumKey.
#include "hash_test_texts.hpp"

#define PAIR_COUNT 100

// The suite spells its null arguments as ((void *)0); these overloads let
// that spelling call the table function in C++.
static int VELKCSzHashEnumKey(void *, SzList **ppList)
{
    return VELKCSzHashEnumKey(static_cast<const SzHash *>(NULL), ppList);
}
static int VELKCSzHashEnumKey(const SzHash *pHash, void *)
{
    return VELKCSzHashEnumKey(pHash, static_cast<SzList **>(NULL));
}

START_TEST(VELKCSzHashEnumKeyNULLArg)
{
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzList *pslList = VELKCSzListAlloc(512);
    SzList *pslListNull = NULL;

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(((void *)0), &pslList), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(((void *)0), &pslListNull), ==, -1);
    VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(pshHash, ((void *)0)), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELKCSzListFree(pslList);
    VELKCSzHashFree(pshHash);
}
END_TEST

// Keys come back as a set after each insertion; removed keys are no longer
// reported.
START_TEST(VELKCSzHashEnumKeyTest)
{
    const char *rgszKey[PAIR_COUNT];
    const char *rgszVal[PAIR_COUNT];
    SzHash *pshHash = VELKCSzHashAlloc(512);
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    VELK_ASSERT_PTR(pslList, !=, NULL);
    RandomPairsGen(rgszKey, rgszVal, PAIR_COUNT);
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashSetValue(&pshHash, rgszKey[i], rgszVal[i]), !=, -1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELKCSzListRemoveAll(pslList);
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(pshHash, &pslList), ==, i + 1);
        VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(pshHash, ((void *)0)), ==, i + 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_LIST_SAME(ListSameWithStrArray(pslList, rgszKey, i + 1));
    }
    for (int i = 0; i < PAIR_COUNT; i++) {
        VELK_RESET();
        char *szVal = VELKCSzHashRemoveKey(pshHash, rgszKey[i]);
        VELK_ASSERT_STR(szVal, rgszVal[i]);
        VELKCSzListRemoveAll(pslList);
        VELK_ASSERT_INT_ERR(VELKCSzHashEnumKey(pshHash, &pslList), ==, 100 - i - 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_LIST_SAME(ListSameWithStrArray(pslList, rgszKey + i + 1, 100 - i - 1));
    }
    RandomPairsFree(rgszKey, rgszVal, PAIR_COUNT);
    VELKCSzListFree(pslList);
    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *hash_enum_key_test(void)
{
    TCase *tc = tcase_create("hash enum key");
    _tcase_add_test(tc, VELKCSzHashEnumKeyNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzHashEnumKeyTest, 0, 0, 0, 1);
    return tc;
}
