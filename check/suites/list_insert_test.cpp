// LIST suite: VELKCSzListInsert, VELKCSzListPush and VELKCSzListUnshift.
#include "../kovacore_test.h"

#define RANDOM_TEXT_COUNT 1000

START_TEST(VELKCSzListInsertNULLArgTest)
{
    SzList *pslList = VELKCSzListAlloc(512);
    SzList *pslNull = NULL;

    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListInsert(NULL, 0, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListInsert(&pslNull, 0, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListInsert(&pslList, 0, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListInsert(&pslList, -1, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELKCSzListFree(pslList);
}
END_TEST

// An index beyond the end fills the gap with holes that read as "".
START_TEST(VELKCSzListInsertExceedIndexTest)
{
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListInsert(&pslList, 5, "test"), ==, 5);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pslList->nItem, ==, 6);
    for (int i = 0; i < 5; i++) {
        VELK_RESET();
        VELK_ASSERT_STR(VELKCSzListGet(pslList, i), "");
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_ASSERT_STR(VELKCSzListGet(pslList, 5), "test");
    VELKCSzListFree(pslList);
}
END_TEST

// Push and Unshift refuse the same null arguments, leaving the list alone.
static void CheckAddNULLArgs(int (*pfnAdd)(SzList **, const char *))
{
    SzList *pslList = VELKCSzListAlloc(512);
    SzList *pslNull = NULL;

    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(pfnAdd(NULL, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(pfnAdd(&pslNull, "test"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(pfnAdd(&pslList, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_PTR(pslList, !=, NULL);
    VELKCSzListFree(pslList);
}

// Adds RANDOM_TEXT_COUNT random texts, enough for the list to double many
// times, and reads them back: item i is text i when pushed, text
// count-1-i when unshifted.
static void CheckAddRandomTexts(int (*pfnAdd)(SzList **, const char *), int fReversed)
{
    char *rgszText[RANDOM_TEXT_COUNT];
    SzList *pslList = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslList, !=, NULL);
    for (int i = 0; i < RANDOM_TEXT_COUNT; i++) {
        rgszText[i] = RandomTextGen();
        VELK_ASSERT_PTR(rgszText[i], !=, NULL);
        VELK_RESET();
        VELK_ASSERT_INT_ERR(pfnAdd(&pslList, rgszText[i]), >=, 0);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_ASSERT_INT(pslList->nItem, ==, RANDOM_TEXT_COUNT);
    for (int i = 0; i < RANDOM_TEXT_COUNT; i++) {
        const int iText = fReversed ? RANDOM_TEXT_COUNT - 1 - i : i;
        VELK_RESET();
        VELK_ASSERT_STR(VELKCSzListGet(pslList, i), rgszText[iText]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    for (int i = 0; i < RANDOM_TEXT_COUNT; i++) {
        RandomTextFree(rgszText[i]);
    }
    VELKCSzListFree(pslList);
}

START_TEST(VELKCSzListPushNULLArgTest) { CheckAddNULLArgs(VELKCSzListPush); }
END_TEST

START_TEST(VELKCSzListPushTest) { CheckAddRandomTexts(VELKCSzListPush, 0); }
END_TEST

START_TEST(VELKCSzListUnshiftNULLArgTest) { CheckAddNULLArgs(VELKCSzListUnshift); }
END_TEST

START_TEST(VELKCSzListUnshiftTest) { CheckAddRandomTexts(VELKCSzListUnshift, 1); }
END_TEST

TCase *list_insert_test(void)
{
    TCase *tc = tcase_create("list insert");
    _tcase_add_test(tc, VELKCSzListInsertNULLArgTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListInsertExceedIndexTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListPushNULLArgTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListPushTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListUnshiftNULLArgTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListUnshiftTest, 0, 0, 0, 1);
    return tc;
}
