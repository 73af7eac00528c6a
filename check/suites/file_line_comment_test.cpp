// FILE suite: VELKCFileLineComment.
#include "file_suite_data.hpp"

static const char *grgszTelnet[] = {"telnet",
                                    "tel",
                                    "net",
                                    "telnet tt",
                                    " telnet",
                                    "# #telnet",
                                    "##telnet",
                                    "tel net telnet",
                                    "   #telnet telnet",
                                    "telnet telnet",
                                    "# telnet",
                                    NULL};

// Comments or uncomments the lines holding pattern, then compares every
// line of the file, comments included, and of the ".tmp" sibling.
#define COMMENT(pattern, uncomment, result, code, lines)                                          \
    do {                                                                                          \
        VELK_RESET();                                                                             \
        VELK_ASSERT_INT_ERR(VELKCFileLineComment(TEST_FILE, (pattern), (uncomment)), ==, result); \
        VELK_ASSERT_ERR(code);                                                                    \
        VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE, (lines)) == 0);                  \
        VELK_ASSERT(CheckFileWithGetlineIgnoreComment(TEST_FILE_TMP, grgszTelnet) == 0);          \
    } while (0)

START_TEST(KOVAFileLineCommentNULLArg)
{
    FILE_SUITE_WRITE_BOTH(FILE_DATA_SHORT_TELNET);

    FILE_SUITE_REFUSED(VELKCFileLineComment(NULL, "telnet", 0), -1);

    FILE_SUITE_REFUSED(VELKCFileLineComment(TEST_FILE, NULL, 1), -1);

    FILE_SUITE_CHECK_BOTH(grgszShortTelnetLines);
}
END_TEST

START_TEST(KOVAFileLineCommentTest)
{
    // Lines already commented, leading blanks or not, stay as they are.
    static const char *rgszCommented[] = {"#telnet",
                                          "tel",
                                          "net",
                                          "#telnet tt",
                                          "# telnet",
                                          "# #telnet",
                                          "##telnet",
                                          "#tel net telnet",
                                          "   #telnet telnet",
                                          "#telnet telnet",
                                          "# telnet",
                                          NULL};
    // Every "#" line holding telnet loses its first "#" and the blanks before it.
    static const char *rgszUncommented[] = {"telnet",        "tel",           "net",     "telnet tt",
                                            " telnet",       " #telnet",      "#telnet", "tel net telnet",
                                            "telnet telnet", "telnet telnet", " telnet", NULL};

    FILE_SUITE_WRITE_BOTH(FILE_DATA_TELNET);

    COMMENT("gt", 0, 0, ERR_KEY_NOT_FOUND, grgszTelnet);
    COMMENT("gt", 1, 0, ERR_KEY_NOT_FOUND, grgszTelnet);
    COMMENT("telnet", 0, 1, ERR_SUCCESS, rgszCommented);
    COMMENT("telnet", 1, 1, ERR_SUCCESS, rgszUncommented);
}
END_TEST

TCase *file_line_comment_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, KOVAFileLineCommentNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, KOVAFileLineCommentTest, 0, 0, 0, 1);
    return tc;
}
