// FILE suite: VELKCFileAddSection.
#include "file_suite_data.hpp"

START_TEST(ErrVELKFileAddSectionTest)
{
    // The leading empty line comes from appending to an empty file.
    static const char *rgszSections[] = {"", "[Empty]", "[One]", "k1=v1", "[Two]", "k1=v1", "k2=v2", NULL};
    static const char *rgszOne[] = {"", "[Empty]", "[One]", "k1=v1", NULL};
    SzHash *pshHash = VELKCSzHashAlloc(512);

    VELK_ASSERT_PTR(pshHash, !=, NULL);
    FILE_SUITE_WRITE(TEST_FILE_TMP, FILE_DATA_FOUR_KEYS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddSection(TEST_FILE, "Empty", pshHash, NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    VELK_ASSERT_INT(VELKCSzHashSetValue(&pshHash, "k1", "v1"), >=, 0);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddSection(TEST_FILE, "One", pshHash, NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(TEST_FILE, rgszOne);

    // The section exists: nothing is written.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddSection(TEST_FILE, "One", pshHash, NULL), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(TEST_FILE, rgszOne);

    VELK_ASSERT_INT(VELKCSzHashSetValue(&pshHash, "k2", "v2"), >=, 0);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileAddSection(TEST_FILE, "Two", pshHash, NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    FILE_SUITE_CHECK(TEST_FILE, rgszSections);

    // A format without its newline is refused before anything is written.
    FILE_SUITE_REFUSED(VELKCFileAddSection(TEST_FILE, "Three", pshHash, "%s=%s"), -1);

    FILE_SUITE_REFUSED(VELKCFileAddSection(TEST_FILE, NULL, pshHash, NULL), -1);

    FILE_SUITE_REFUSED(VELKCFileAddSection(TEST_FILE, "Three", NULL, NULL), -1);

    FILE_SUITE_CHECK(TEST_FILE, rgszSections);
    FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);
    VELKCSzHashFree(pshHash);
}
END_TEST

TCase *file_add_section_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, ErrVELKFileAddSectionTest, 0, 0, 0, 1);
    return tc;
}
