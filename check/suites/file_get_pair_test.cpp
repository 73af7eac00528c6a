// FILE suite: VELKCFileGetPair.
#include "file_suite_data.hpp"

START_TEST(VELKFileGetPairTest)
{
    static const char *rgszKey[] = {"k1", "k2", "k3"};
    static const char *rgszVal[] = {"v1", "v2", "v3"};
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_PAIRS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetPair(TEST_FILE, &pshHash), ==, 3);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    for (int i = 0; i < 3; ++i) {
        VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, rgszKey[i]), rgszVal[i]);
    }

    FILE_SUITE_REFUSED(VELKCFileGetPair(NULL, &pshHash), -1);

    FILE_SUITE_REFUSED(VELKCFileGetPair(TEST_FILE, NULL), -1);

    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *file_get_pair_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileGetPairTest, 0, 0, 0, 1);
    return tc;
}
