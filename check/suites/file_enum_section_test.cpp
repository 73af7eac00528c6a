// FILE suite: VELKCFileEnumSection.
#include "file_suite_data.hpp"

START_TEST(VELKFileEnumSectionTest)
{
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslList, !=, NULL);

    // The fixture's scratch file is empty.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileEnumSection(TEST_FILE, &pslList), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_THREE_SECTIONS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileEnumSection(TEST_FILE, &pslList), ==, 3);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(VELKCSzListGet(pslList, 0), "Empty");
    VELK_ASSERT_STR(VELKCSzListGet(pslList, 1), "Sec");
    VELK_ASSERT_STR(VELKCSzListGet(pslList, 2), "Three");

    // The names are added to what the list already holds.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileEnumSection(TEST_FILE, &pslList), ==, 6);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_STR(VELKCSzListGet(pslList, 5), "Three");

    FILE_SUITE_REFUSED(VELKCFileEnumSection(NULL, &pslList), -1);

    FILE_SUITE_REFUSED(VELKCFileEnumSection(TEST_FILE, NULL), -1);

    VELKCSzListFree(pslList);
}
END_TEST

TCase *file_enum_section_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKFileEnumSectionTest, 0, 0, 0, 1);
    return tc;
}
