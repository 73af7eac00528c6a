// Values and value cases shared by the trim tests of the STRING suite.
#pragma once

#include "../kovacore_test.h"

inline constexpr char SZ_EMPTY[] = "";
inline constexpr char SZ_SINGLE[] = "A";
inline constexpr char SZ_MANY[] = "ABCD";
inline constexpr char SZ_MIDDLE_SPACE[] = "A\tB\r\nC D";
inline constexpr char SZ_SINQUO[] = "\"";
inline constexpr char SZ_PAIRQUO[] = "\"\"";
inline constexpr char SZ_PAIRQUO_MANY[] = "\"ABCD\"";
inline constexpr char SZ_SINQUO_LEFT_SINGLE[] = "\"A";
inline constexpr char SZ_SINQUO_RIGHT_SINGLE[] = "A\"";

// Checks one value case of TRIM, a function of (char *input, char *output):
// `input` trimmed into szBuf, then a copy of it in szCopy trimmed in place.
// Both must give `expected` and its length, without an error.
#define VELK_CHECK_TRIM(TRIM, input, szCopy, expected)                           \
    do {                                                                         \
        VELK_RESET();                                                            \
        VELK_ASSERT_INT_ERR(TRIM((char *)(input), szBuf), ==, strlen(expected)); \
        VELK_ASSERT_STR(szBuf, expected);                                        \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                            \
        strcpy(szCopy, input);                                                   \
        VELK_RESET();                                                            \
        VELK_ASSERT_INT_ERR(TRIM(szCopy, NULL), ==, strlen(expected));           \
        VELK_ASSERT_STR(szCopy, expected);                                       \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                            \
    } while (0)

// The buffers that the value cases use.
#define VELK_TRIM_BUFFERS char szBuf[256], szInput1[256], szInput2[256], szInput3[256]

// Cases that trim alike with or without quote removal. W, the whitespace run
// around the values, is " \t   \r   \n  \r \t \n".

#define VELK_TRIM_NULL_ARGS(TRIM)                       \
    do {                                                \
        char szBuf[16];                                 \
        VELK_RESET();                                   \
        VELK_ASSERT_INT_ERR(TRIM(NULL, szBuf), ==, -1); \
        VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);            \
    } while (0)

// An output that starts inside the input's text, up to its terminator, is
// refused: the copy would overwrite bytes not yet read.
#define VELK_TRIM_IN_OUT_OVERLAP(TRIM)                         \
    do {                                                       \
        char szInput[] = "ABCD";                               \
        char *szOutputS = szInput + 1;                         \
        char *szOutputM = szInput + 2;                         \
        char *szOutputE = szInput + strlen(szInput);           \
        VELK_RESET();                                          \
        VELK_ASSERT_INT_ERR(TRIM(szInput, szOutputS), ==, -1); \
        VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);                   \
        VELK_RESET();                                          \
        VELK_ASSERT_INT_ERR(TRIM(szInput, szOutputM), ==, -1); \
        VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);                   \
        VELK_RESET();                                          \
        VELK_ASSERT_INT_ERR(TRIM(szInput, szOutputE), ==, -1); \
        VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);                   \
        VELK_ASSERT_STR(szInput, "ABCD");                      \
    } while (0)

#define VELK_TRIM_IN_OUT_EQUAL(TRIM)                    \
    do {                                                \
        char szBuf[] = " \t ABC\r\n ";                  \
        VELK_RESET();                                   \
        VELK_ASSERT_INT_ERR(TRIM(szBuf, szBuf), ==, 3); \
        VELK_ASSERT_STR(szBuf, "ABC");                  \
        VELK_ASSERT_ERR(ERR_SUCCESS);                   \
    } while (0)

#define VELK_TRIM_NO_EMPTY(TRIM)                                         \
    do {                                                                 \
        VELK_TRIM_BUFFERS;                                               \
        VELK_CHECK_TRIM(TRIM, "A", szInput1, SZ_SINGLE);                 \
        VELK_CHECK_TRIM(TRIM, "ABCD", szInput2, SZ_MANY);                \
        VELK_CHECK_TRIM(TRIM, "A\tB\r\nC D", szInput3, SZ_MIDDLE_SPACE); \
    } while (0)

#define VELK_TRIM_ALL_EMPTY(TRIM)                                             \
    do {                                                                      \
        VELK_TRIM_BUFFERS;                                                    \
        VELK_CHECK_TRIM(TRIM, "", szInput1, SZ_EMPTY);                        \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \n", szInput2, SZ_EMPTY); \
        (void)szInput3;                                                       \
    } while (0)

#define VELK_TRIM_LEFT_EMPTY(TRIM)                                                              \
    do {                                                                                        \
        VELK_TRIM_BUFFERS;                                                                      \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nA", szInput1, SZ_SINGLE);                 \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nABCD", szInput2, SZ_MANY);                \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nA\tB\r\nC D", szInput3, SZ_MIDDLE_SPACE); \
    } while (0)

#define VELK_TRIM_RIGHT_EMPTY(TRIM)                                                             \
    do {                                                                                        \
        VELK_TRIM_BUFFERS;                                                                      \
        VELK_CHECK_TRIM(TRIM, "A \t   \r   \n  \r \t \n", szInput1, SZ_SINGLE);                 \
        VELK_CHECK_TRIM(TRIM, "ABCD \t   \r   \n  \r \t \n", szInput2, SZ_MANY);                \
        VELK_CHECK_TRIM(TRIM, "A\tB\r\nC D \t   \r   \n  \r \t \n", szInput3, SZ_MIDDLE_SPACE); \
    } while (0)

#define VELK_TRIM_TWO_END_EMPTY(TRIM)                                                                                  \
    do {                                                                                                               \
        VELK_TRIM_BUFFERS;                                                                                             \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nA \t   \r   \n  \r \t \n", szInput1, SZ_SINGLE);                 \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nABCD \t   \r   \n  \r \t \n", szInput2, SZ_MANY);                \
        VELK_CHECK_TRIM(TRIM, " \t   \r   \n  \r \t \nA\tB\r\nC D \t   \r   \n  \r \t \n", szInput3, SZ_MIDDLE_SPACE); \
    } while (0)

// A lone quote is not a pair: it stays.
#define VELK_TRIM_QUOTE_SINGLE_LEFT(TRIM)                                  \
    do {                                                                   \
        VELK_TRIM_BUFFERS;                                                 \
        VELK_CHECK_TRIM(TRIM, "\"A", szInput1, SZ_SINQUO_LEFT_SINGLE);     \
        VELK_CHECK_TRIM(TRIM, "\"ABCD", szInput2, "\"ABCD");               \
        VELK_CHECK_TRIM(TRIM, "\"A\tB\r\nC D", szInput3, "\"A\tB\r\nC D"); \
    } while (0)

#define VELK_TRIM_QUOTE_SINGLE_RIGHT(TRIM)                                 \
    do {                                                                   \
        VELK_TRIM_BUFFERS;                                                 \
        VELK_CHECK_TRIM(TRIM, "A\"", szInput1, SZ_SINQUO_RIGHT_SINGLE);    \
        VELK_CHECK_TRIM(TRIM, "ABCD\"", szInput2, "ABCD\"");               \
        VELK_CHECK_TRIM(TRIM, "A\tB\r\nC D\"", szInput3, "A\tB\r\nC D\""); \
    } while (0)
