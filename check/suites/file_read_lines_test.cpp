// FILE suite: VELKCFileReadLines.
#include "file_suite_data.hpp"

START_TEST(KOVAFileReadLinesNULLArg)
{
    SzList *pslList = VELKCSzListAlloc(512);
    SzList *pslNull = NULL;

    VELK_ASSERT_PTR(pslList, !=, NULL);

    // The fixture's scratch file is empty.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReadLines(TEST_FILE, &pslList), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pslList->nItem, ==, 0);

    FILE_SUITE_WRITE_BOTH(FILE_DATA_SHORT_TELNET);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReadLines(TEST_FILE, &pslList), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pslList->nItem, ==, 6);

    FILE_SUITE_REFUSED(VELKCFileReadLines(NULL, &pslList), -1);

    FILE_SUITE_REFUSED(VELKCFileReadLines(TEST_FILE, NULL), -1);

    FILE_SUITE_REFUSED(VELKCFileReadLines(TEST_FILE, &pslNull), -1);

    VELK_ASSERT_INT(pslList->nItem, ==, 6);
    FILE_SUITE_CHECK_BOTH(grgszShortTelnetLines);
    VELKCSzListFree(pslList);
}
END_TEST

START_TEST(KOVAFileReadLinesTest)
{
    // The lines of FILE_DATA_TELNET, each with its "\n" (the set-up adds the
    // last one).
    static const char *rgszLines[] = {
        "telnet\n",
        "tel\n",
        "net\n",
        "telnet tt\n",
        " telnet\n",
        "# #telnet\n",
        "##telnet\n",
        "tel net telnet\n",
        "   #telnet telnet\n",
        "telnet telnet\n",
        "# telnet\n",
    };
    const int nLines = sizeof(rgszLines) / sizeof(rgszLines[0]);
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslList, !=, NULL);
    FILE_SUITE_WRITE(TEST_FILE, FILE_DATA_TELNET);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCFileReadLines(TEST_FILE, &pslList), ==, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pslList->nItem, ==, nLines);
    for (int i = 0; i < nLines; ++i) {
        VELK_ASSERT_STR(VELKCSzListGet(pslList, i), rgszLines[i]);
    }
    VELKCSzListFree(pslList);
}
END_TEST

TCase *file_read_lines_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, KOVAFileReadLinesNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVAFileReadLinesTest, 0, 0, 0, 1);
    return tc;
}
