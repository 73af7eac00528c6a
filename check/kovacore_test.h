// Conventions shared by every test case: the assertion pattern, the
// failure-message formats and the support functions.
#pragma once

#include <velkc.h>

#include <cerrno>
#include <check.h>
#include <cstring>

// Check's deprecated fail() macro clashes with std::basic_ios::fail.
#undef fail

// Each source of kovacore_check is compiled with VELKC_SOURCE set to its base
// name; failures and the error-record resets carry that name.
#ifndef VELKC_SOURCE
#error "VELKC_SOURCE must name the source file"
#endif

// Fails the test with the formatted text unless cond holds. The framework
// shows the formatted message; the "Failure '...' occured" text is the
// assertion's description.
#define VELK_CHECK_MSG(cond, fmt, ...)            \
    ((cond) ? _mark_point(VELKC_SOURCE, __LINE__) \
            : _ck_assert_failed(VELKC_SOURCE, __LINE__, "Failure '" fmt "' occured", fmt, ##__VA_ARGS__))

// Clears the error record and errno before a call under test.
#define VELK_RESET()                              \
    do {                                          \
        VELKCErrSetEx(0, VELKC_SOURCE, __LINE__); \
        errno = 0;                                \
        VELK_CHECK_MSG(0 == errno, "0 != errno"); \
    } while (0)

#define VELK_ERR_FILE() (VELKCErrorGetFile() ? VELKCErrorGetFile() : "(NULL)")

// Integer comparison: "(left=[l]) op (right=[r]) test failed".
#define VELK_ASSERT_INT(left, op, right)                                                                            \
    do {                                                                                                            \
        const int velkL_ = (int)(left);                                                                             \
        const int velkR_ = (int)(right);                                                                            \
        VELK_CHECK_MSG(velkL_ op velkR_, "(%s=[%d]) %s (%s=[%d]) test failed", #left, velkL_, #op, #right, velkR_); \
    } while (0)

// Integer comparison of a call's result, with errno and the error record.
#define VELK_ASSERT_INT_ERR(left, op, right)                                                        \
    do {                                                                                            \
        const int velkL_ = (int)(left);                                                             \
        const int velkR_ = (int)(right);                                                            \
        const int velkLine_ = VELKCErrorGetLine();                                                  \
        const char *velkFile_ = VELK_ERR_FILE();                                                    \
        const unsigned velkCode_ = VELKCErrGet();                                                   \
        VELK_CHECK_MSG(velkL_ op velkR_,                                                            \
                       "(%s=[%d]) %s (%s=[%d]) test failed, errno=[%d], "                           \
                       "VELKCErrGet()=[0x%04X, at %s:%d]",                                          \
                       #left, velkL_, #op, #right, velkR_, errno, velkCode_, velkFile_, velkLine_); \
    } while (0)

// Pointer comparison: "(left=[p]) op (right=[p]) test failed".
#define VELK_ASSERT_PTR(left, op, right)                                                                            \
    do {                                                                                                            \
        const void *velkL_ = (const void *)(left);                                                                  \
        const void *velkR_ = (const void *)(right);                                                                 \
        VELK_CHECK_MSG(velkL_ op velkR_, "(%s=[%p]) %s (%s=[%p]) test failed", #left, velkL_, #op, #right, velkR_); \
    } while (0)

// Pointer comparison of a call's result, with errno and the error record.
#define VELK_ASSERT_PTR_ERR(left, op, right)                                                        \
    do {                                                                                            \
        const void *velkL_ = (const void *)(left);                                                  \
        const void *velkR_ = (const void *)(right);                                                 \
        const int velkLine_ = VELKCErrorGetLine();                                                  \
        const char *velkFile_ = VELK_ERR_FILE();                                                    \
        const unsigned velkCode_ = VELKCErrGet();                                                   \
        VELK_CHECK_MSG(velkL_ op velkR_,                                                            \
                       "(%s=[%p]) %s (%s=[%p]) test failed, errno=[%d], "                           \
                       "VELKCErrGet()=[0x%04X, at %s:%d]",                                          \
                       #left, velkL_, #op, #right, velkR_, errno, velkCode_, velkFile_, velkLine_); \
    } while (0)

// The error record holds the named code, e.g. VELK_ASSERT_ERR(ERR_SUCCESS).
#define VELK_ASSERT_ERR(name)                                                                                   \
    do {                                                                                                        \
        const int velkLine_ = VELKCErrorGetLine();                                                              \
        const char *velkFile_ = VELK_ERR_FILE();                                                                \
        const unsigned velkCode_ = VELKCErrGet();                                                               \
        VELK_CHECK_MSG(velkCode_ == (name), #name " != VELKCErrGet()=[0x%04X, at %s:%d]", velkCode_, velkFile_, \
                       velkLine_);                                                                              \
    } while (0)

// A null string shows as "(null)", as printf shows it.
#define VELK_NULL_TEXT(s) ((s) != NULL ? (s) : "(null)")

// String equality: both non-null, then strcmp equal. The null-check format
// ends in "or " while its description does not; both are kept as they are.
#define VELK_ASSERT_STR(a, b)                                                                                          \
    do {                                                                                                               \
        const char *velkA_ = (a);                                                                                      \
        const char *velkB_ = (b);                                                                                      \
        ((velkA_ != NULL && velkB_ != NULL)                                                                            \
             ? _mark_point(VELKC_SOURCE, __LINE__)                                                                     \
             : _ck_assert_failed(VELKC_SOURCE, __LINE__, "Failure '" #a "[%s] == NULL or " #b "[%s] == NULL' occured", \
                                 #a "[%s] == NULL or " #b "[%s] == NULL or ", VELK_NULL_TEXT(velkA_),                  \
                                 VELK_NULL_TEXT(velkB_)));                                                             \
        VELK_CHECK_MSG(strcmp(velkA_, velkB_) == 0, #a "[%s] != " #b "[%s]", velkA_, velkB_);                          \
    } while (0)

// A boolean check whose message is the expression's own text.
#define VELK_ASSERT(expr) VELK_CHECK_MSG((expr), "%s", #expr)

// The FILE suite's scratch files.
#define TEST_FILE "/tmp/TempFileForTest"
#define TEST_FILE_TMP "/tmp/TempFileForTest.tmp"

extern "C" {

// The FILE suite's checked fixture.
int CreateEmptyTestFile(void);
void RemoveTestFile(void);

// Compares a file with a null-terminated array of lines. The names are
// crossed: CheckFileWithGetline skips '#' lines, while
// CheckFileWithGetlineIgnoreComment compares every line.
int CheckFileWithGetline(const char *path, const char **expected);
int CheckFileWithGetlineIgnoreComment(const char *path, const char **expected);

// Prints a file between "^---[path]---" and "$---[path]---" markers.
void showFile(const char *path);

// A new random text of 1 to 512 printable bytes; free with RandomTextFree.
char *RandomTextGen(void);
void RandomTextFree(char *text);

// 0 when the list has exactly count items and holds every array entry.
int ListSameWithStrArray(const SzList *pList, const char **rgsz, int count);

} // extern "C"
