// FILE suite: VELKCFileGetSection.
#include "file_suite_data.hpp"

START_TEST(VELKFileGetSectionTest)
{
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_SECTIONS);

    // A missing section is no error.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSection(TEST_FILE, "NotFound", &pshHash), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    // "[Empty]" ends where "[Sec]" begins.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSection(TEST_FILE, "Empty", &pshHash), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSection(TEST_FILE, "Sec", &pshHash), ==, 2);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "k1"), "v1");
    VELK_ASSERT_STR(VELKCSzHashGetValue(pshHash, "k2"), "v2");

    FILE_SUITE_REFUSED(VELKCFileGetSection(TEST_FILE, NULL, &pshHash), -1);

    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *file_get_section_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileGetSectionTest, 0, 0, 0, 1);
    return tc;
}
