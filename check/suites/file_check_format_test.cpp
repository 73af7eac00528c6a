// FILE suite: VELKCIFileCheckFormat.
#include "file_suite_data.hpp"

START_TEST(VELKIFileCheckFormatTest)
{
    static const char *rgszGood[] = {"%s=%s\n", "%s=\"%s\"\n", "%s===[%s]\n"};

    for (unsigned i = 0; i < sizeof(rgszGood) / sizeof(rgszGood[0]); ++i) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCIFileCheckFormat(rgszGood[i]), ==, 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }

    // No newline: the record's line names the fourth element as missing.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCIFileCheckFormat("%s=%s"), ==, 0);
    VELK_ASSERT_ERR(ERR_FORMAT_ERROR);
    VELK_ASSERT_INT(VELKCErrorGetLine(), ==, 4);

    // Another separator than "=".
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCIFileCheckFormat("%s:%s\n"), ==, 0);
    VELK_ASSERT_ERR(ERR_FORMAT_ERROR);
    VELK_ASSERT_INT(VELKCErrorGetLine(), ==, 2);

    // No format: the caller's default applies.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCIFileCheckFormat(NULL), ==, 1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}
END_TEST

TCase *file_check_format_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKIFileCheckFormatTest, 0, 0, 0, 1);
    return tc;
}
