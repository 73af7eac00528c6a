// check/suites/file_suite_data.hpp: data and set-up steps shared by the FILE
// suite's test cases. Each test writes one of these texts into the scratch
// file with a single VELKCFileAddLine call (which adds the final "\n") and
// compares the file with the matching line array afterwards.
#pragma once

#include "../kovacore_test.h"

#define FILE_DATA_FOUR_KEYS "abc=\nabcd=\nDef=\nDewww="
#define FILE_DATA_FIVE_KEYS "abc=\nabcd=\nDef=\nwww=\nDewww="
#define FILE_DATA_FOUR_LINES "abc\nabcd\nDef\ndEfBc"
#define FILE_DATA_NUMBERS "1\n0\n5\n2\n3\n4\n5\n6"
#define FILE_DATA_NUMBERS_PAIR "1\n2\n3\n3:4\n5"
#define FILE_DATA_TELNET                                                                             \
    "telnet\ntel\nnet\ntelnet tt\n telnet\n# #telnet\n##telnet\ntel net telnet\n   #telnet telnet\n" \
    "telnet telnet\n# telnet"
#define FILE_DATA_SHORT_TELNET "telnet\ntel\nnet\ntelnet tt\nelnet ts\ntelnet"
#define FILE_DATA_PAIRS "k1=v1\nk2=v2\nk3=v3"
#define FILE_DATA_FIVE_PAIRS "k1=v1\nk2=v2\nk3=v3\nk4=v4\nk5=v5"
#define FILE_DATA_SECTIONS "[Empty]\n[Sec]\nk1=v1\nk2=v2"
#define FILE_DATA_THREE_SECTIONS "[Empty]\n[Sec]\nk1=v1\nk2=v2\n[Three]\nm1=s1\nm2=s2"
#define FILE_DATA_INDENTED_SECTION "[EmptySection]\n\n[Sec]\n\tk1=v1\n\tk2=v2\n"
#define FILE_DATA_REPLACE "albc\nalbcate\nbcal\nwww\nkawwwmegy"

// The lines of the texts above that the null-argument tests check.
inline const char *grgszFourKeysLines[] = {"abc=", "abcd=", "Def=", "Dewww=", NULL};
inline const char *grgszShortTelnetLines[] = {"telnet", "tel", "net", "telnet tt", "elnet ts", "telnet", NULL};

// Writes text into the file at path.
#define FILE_SUITE_WRITE(path, text)                                           \
    do {                                                                       \
        VELK_RESET();                                                          \
        VELK_ASSERT_INT_ERR(VELKCFileAddLine((path), NULL, (text), 0), ==, 1); \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                          \
    } while (0)

// Writes text into the scratch file and into its ".tmp" sibling, which no
// library function may touch.
#define FILE_SUITE_WRITE_BOTH(text)              \
    do {                                         \
        FILE_SUITE_WRITE(TEST_FILE, (text));     \
        FILE_SUITE_WRITE(TEST_FILE_TMP, (text)); \
    } while (0)

// Sets a key in the scratch file; its ".tmp" sibling, set up with the four
// keys, must stay as it was.
#define FILE_SUITE_SET_KEY(key, value, format)                                                 \
    do {                                                                                       \
        VELK_RESET();                                                                          \
        VELK_ASSERT_INT_ERR(VELKCFileSetKeyValue(TEST_FILE, (key), (value), (format)), ==, 1); \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                                          \
        FILE_SUITE_CHECK(TEST_FILE_TMP, grgszFourKeysLines);                                   \
    } while (0)

// Sets the keys prefix "1" to prefix "3" in the scratch file: a plain value,
// a quoted value, and a value quoted by the format. The ".tmp" sibling gets
// the four keys and must keep them.
#define FILE_SUITE_SET_THREE_KEYS(prefix)                     \
    do {                                                      \
        FILE_SUITE_WRITE(TEST_FILE_TMP, FILE_DATA_FOUR_KEYS); \
        FILE_SUITE_SET_KEY(prefix "1", "v1", NULL);           \
        FILE_SUITE_SET_KEY(prefix "2", "\"v2\"", NULL);       \
        FILE_SUITE_SET_KEY(prefix "3", "v3", "%s=\"%s\"\n");  \
    } while (0)

// The file holds exactly these lines ('#' lines skipped).
#define FILE_SUITE_CHECK(path, lines) VELK_ASSERT(CheckFileWithGetline((path), (lines)) == 0)

// Both files still hold these lines.
#define FILE_SUITE_CHECK_BOTH(lines)              \
    do {                                          \
        FILE_SUITE_CHECK(TEST_FILE, (lines));     \
        FILE_SUITE_CHECK(TEST_FILE_TMP, (lines)); \
    } while (0)

// Calls a function under test, expecting result and error code; then the
// scratch file must hold lines and its ".tmp" sibling tmpLines.
#define FILE_SUITE_EXPECT(call, result, code, lines, tmpLines) \
    do {                                                       \
        VELK_RESET();                                          \
        VELK_ASSERT_INT_ERR(call, ==, result);                 \
        VELK_ASSERT_ERR(code);                                 \
        FILE_SUITE_CHECK(TEST_FILE, (lines));                  \
        FILE_SUITE_CHECK(TEST_FILE_TMP, (tmpLines));           \
    } while (0)

// A call refused for a bad argument with result.
#define FILE_SUITE_REFUSED(call, result)       \
    do {                                       \
        VELK_RESET();                          \
        VELK_ASSERT_INT_ERR(call, ==, result); \
        VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);   \
    } while (0)

#define FILE_SUITE_PUSH(list, item) VELK_ASSERT_INT(VELKCSzListPush(&(list), (item)), >=, 0)
