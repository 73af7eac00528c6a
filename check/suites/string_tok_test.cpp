// STRING suite: VELKCStrTok and its tokenizer step VELKCStrTokIndex.
#include "../kovacore_test.h"

// Splits szInput at szSep into the emptied list pList; the tokens must be the
// first n entries of rgszExpected, in order.
#define VELK_CHECK_TOK(szInput, szSep, rgszExpected, n)                  \
    do {                                                                 \
        VELKCSzListRemoveAll(pList);                                     \
        VELK_RESET();                                                    \
        VELK_ASSERT_INT_ERR(VELKCStrTok(szInput, szSep, &pList), ==, n); \
        VELK_ASSERT_ERR(ERR_SUCCESS);                                    \
        VELK_ASSERT_INT(pList->nItem, ==, n);                            \
        for (int iTok = 0; iTok < (n); iTok++) {                         \
            VELK_ASSERT_STR(pList->pszItem[iTok], rgszExpected[iTok]);   \
        }                                                                \
    } while (0)

// The next token taken at szSep must be `expected` (NULL: no more tokens).
#define VELK_CHECK_TOK_INDEX(szSep, expected)             \
    do {                                                  \
        const char *szExpected = (expected);              \
        VELK_RESET();                                     \
        char *szTok = VELKCStrTokIndex(&szCursor, szSep); \
        if (szExpected == NULL) {                         \
            VELK_ASSERT_PTR(szTok, ==, NULL);             \
        } else {                                          \
            VELK_ASSERT_STR(szTok, szExpected);           \
        }                                                 \
        VELK_ASSERT_ERR(ERR_SUCCESS);                     \
    } while (0)

static const char *const grgszA[] = {"a"};
static const char *const grgszABc[] = {"a", "bc"};

START_TEST(VELKStrTokTestNullArgs)
{
    SzList *pList = VELKCSzListAlloc(0);
    SzList *pNullList = NULL;

    VELK_ASSERT_PTR(pList, !=, NULL);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTok(NULL, "_", &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTok("a_bc", "_", NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTok("a_bc", "_", &pNullList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCStrTok("a_bc", NULL, &pList), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_INT(pList->nItem, ==, 0);

    VELKCSzListFree(pList);
}
END_TEST

// An empty separator set never splits; each call appends the whole input.
START_TEST(VELKStrTokTestEmptyArgs)
{
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);
    for (int i = 0; i < 2; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCStrTok("_a_bc_def_", "", &pList), ==, 1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_ASSERT_INT(pList->nItem, ==, 2);
    VELK_ASSERT_STR(pList->pszItem[0], "_a_bc_def_");
    VELK_ASSERT_STR(pList->pszItem[1], "_a_bc_def_");

    VELKCSzListFree(pList);
}
END_TEST

// Separators at either end never give empty tokens.
START_TEST(VELKStrTokTestSingleHeadTail)
{
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);
    VELK_CHECK_TOK("a", "_", grgszA, 1);
    VELK_CHECK_TOK("_a", "_", grgszA, 1);
    VELK_CHECK_TOK("a_", "_", grgszA, 1);
    VELK_CHECK_TOK("_a_", "_", grgszA, 1);
    VELK_CHECK_TOK("a_bc", "_", grgszABc, 2);
    VELK_CHECK_TOK("_a_bc", "_", grgszABc, 2);
    VELK_CHECK_TOK("a_bc_", "_", grgszABc, 2);
    VELK_CHECK_TOK("_a_bc_", "_", grgszABc, 2);

    VELKCSzListFree(pList);
}
END_TEST

// Runs of separators from a two-byte set count as one.
START_TEST(VELKStrTokTestCoupleHeadTail)
{
    SzList *pList = VELKCSzListAlloc(0);

    VELK_ASSERT_PTR(pList, !=, NULL);
    VELK_CHECK_TOK("a-_bc", "-_", grgszABc, 2);
    VELK_CHECK_TOK("_-a__bc", "-_", grgszABc, 2);
    VELK_CHECK_TOK("a-_bc-_", "-_", grgszABc, 2);
    VELK_CHECK_TOK("-_a_bc_-", "-_", grgszABc, 2);
    VELK_CHECK_TOK("-__-", "-_", grgszABc, 0);

    VELKCSzListFree(pList);
}
END_TEST

START_TEST(VELKIStrTokTestNullArgs)
{
    char szInput[] = "a_bc";
    char *szCursor = NULL;

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrTokIndex(NULL, "_"), ==, NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    // A cursor that has reached the end.
    VELK_CHECK_TOK_INDEX("_", NULL);

    szCursor = szInput;
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCStrTokIndex(&szCursor, NULL), ==, NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_PTR(szCursor, ==, szInput);

    VELK_CHECK_TOK_INDEX("_", "a");
    VELK_CHECK_TOK_INDEX("_", "bc");
    VELK_CHECK_TOK_INDEX("_", NULL);
}
END_TEST

START_TEST(VELKIStrTokTestEmptyArgs)
{
    char szInput[] = "a_bc";
    char *szCursor = szInput;

    VELK_CHECK_TOK_INDEX("", "a_bc");
    VELK_CHECK_TOK_INDEX("", NULL);
}
END_TEST

START_TEST(VELKIStrTokTestSingleHeadTail)
{
    char szInput[] = "__a__";
    char *szCursor = szInput;

    VELK_CHECK_TOK_INDEX("_", "a");
    VELK_CHECK_TOK_INDEX("_", NULL);
}
END_TEST

// "_a_-b_cd" followed by "-_ef", walked with the set in both orders.
START_TEST(VELKIStrTokTestCoupleHeadTail)
{
    const char *rgszSep[] = {"-_", "_-"};

    for (int i = 0; i < 2; i++) {
        char szInput[32] = "_a_-b_cd";
        char *szCursor = szInput;

        strcat(szInput, "-_ef");
        VELK_CHECK_TOK_INDEX(rgszSep[i], "a");
        VELK_CHECK_TOK_INDEX(rgszSep[i], "b");
        VELK_CHECK_TOK_INDEX(rgszSep[i], "cd");
        VELK_CHECK_TOK_INDEX(rgszSep[i], "ef");
        VELK_CHECK_TOK_INDEX(rgszSep[i], NULL);
    }
}
END_TEST

TCase *string_tok_test(void)
{
    TCase *tc = tcase_create("");
    _tcase_add_test(tc, VELKStrTokTestNullArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTokTestEmptyArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTokTestSingleHeadTail, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKStrTokTestCoupleHeadTail, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKIStrTokTestNullArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKIStrTokTestEmptyArgs, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKIStrTokTestSingleHeadTail, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKIStrTokTestCoupleHeadTail, 0, 0, 0, 1);
    return tc;
}
