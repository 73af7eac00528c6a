// FILE suite: VELKCFileGetSectionValue.
#include "file_suite_data.hpp"

START_TEST(KOVAFileGetSectionValueNULLArg)
{
    char szBuf[64];

    FILE_SUITE_WRITE_BOTH(FILE_DATA_FOUR_KEYS);

    FILE_SUITE_REFUSED(VELKCFileGetSectionValue(NULL, "Sec", "k1", szBuf, sizeof(szBuf)), -1);

    FILE_SUITE_REFUSED(VELKCFileGetSectionValue(TEST_FILE, NULL, "k1", szBuf, sizeof(szBuf)), -1);

    FILE_SUITE_REFUSED(VELKCFileGetSectionValue(TEST_FILE, "Sec", NULL, szBuf, sizeof(szBuf)), -1);

    FILE_SUITE_REFUSED(VELKCFileGetSectionValue(TEST_FILE, "Sec", "k1", NULL, sizeof(szBuf)), -1);

    FILE_SUITE_REFUSED(VELKCFileGetSectionValue(TEST_FILE, "Sec", "k1", szBuf, 0), -1);

    FILE_SUITE_CHECK_BOTH(grgszFourKeysLines);
}
END_TEST

START_TEST(KOVAFileGetSectionValueTest)
{
    char szBuf[64];

    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_INDENTED_SECTION);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSectionValue(TEST_FILE, "NoSection", "k1", szBuf, sizeof(szBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_SECTION_NOT_FOUND);

    // A section without pairs counts as missing.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSectionValue(TEST_FILE, "EmptySection", "k1", szBuf, sizeof(szBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_SECTION_NOT_FOUND);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSectionValue(TEST_FILE, "Sec", "k0", szBuf, sizeof(szBuf)), ==, -1);
    VELK_ASSERT_ERR(ERR_KEY_NOT_FOUND);

    // The tab before the key is trimmed. (The blank line that ends the file
    // does not split into a pair and leaves the splitter's error behind.)
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSectionValue(TEST_FILE, "Sec", "k1", szBuf, sizeof(szBuf)), ==, 0);
    VELK_ASSERT_STR(szBuf, "v1");

    // A value longer than the buffer is cut silently.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileGetSectionValue(TEST_FILE, "Sec", "k2", szBuf, 2), ==, 0);
    VELK_ASSERT_STR(szBuf, "v");
}
END_TEST

TCase *file_get_section_value_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, KOVAFileGetSectionValueNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVAFileGetSectionValueTest, 0, 0, 0, 1);
    return tc;
}
