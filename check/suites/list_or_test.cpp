// LIST suite: VELKCSzListOr for every pair of sort modes.
#include "../kovacore_test.h"
#include "list_test_data.h"

#define STR_ARRAY_SIZE 6

static SzList *gpslList1 = NULL;
static SzList *gpslList2 = NULL;

static void ListOrTestSetup(void) { ListCombineSetup(&gpslList1, &gpslList2); }

static void ListOrTestTeardown(void)
{
    VELKCSzListFree(gpslList1);
    VELKCSzListFree(gpslList2);
    gpslList1 = NULL;
    gpslList2 = NULL;
}

// The union of the fixture lists is all six grgszItems.
static void CheckOr(int mode1, int mode2, int modeNew, int modeInPlace)
{
    CheckListCombine(VELKCSzListOr, &gpslList1, gpslList2, mode1, mode2, grgszItems, STR_ARRAY_SIZE, modeNew,
                     modeInPlace);
}

START_TEST(VELKCSzListOrNULLArg)
{
    SzList *pslNull = NULL;

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListOr(NULL, gpslList2, OP_NEW_LIST), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListOr(&gpslList1, NULL, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListOr(&pslNull, NULL, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // Two sorted lists must share their mode.
    VELKCSzListSortItems(gpslList1, OP_SORTED);
    VELKCSzListSortItems(gpslList2, OP_UNICODE_SORTED);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListOr(&gpslList1, gpslList2, OP_NEW_LIST), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKCSzListOr_UNSORTED_UNSORTED_Test) { CheckOr(OP_UNSORTED, OP_UNSORTED, OP_UNSORTED, OP_UNSORTED); }
END_TEST

START_TEST(VELKCSzListOr_UNSORTED_SORTED_Test) { CheckOr(OP_UNSORTED, OP_SORTED, OP_UNSORTED, OP_UNSORTED); }
END_TEST

START_TEST(VELKSzListOr_SORTED_UNSORTED_Test) { CheckOr(OP_SORTED, OP_UNSORTED, OP_UNSORTED, OP_SORTED); }
END_TEST

START_TEST(VELKSzListOr_SORTED_SORTED_Test) { CheckOr(OP_SORTED, OP_SORTED, OP_SORTED, OP_SORTED); }
END_TEST

START_TEST(VELKCSzListOr_UNSORTED_UNICODE_SORTED_Test)
{
    CheckOr(OP_UNSORTED, OP_UNICODE_SORTED, OP_UNSORTED, OP_UNSORTED);
}
END_TEST

START_TEST(VELKSzListOr_UNICODE_SORTED_UNSORTED_Test)
{
    CheckOr(OP_UNICODE_SORTED, OP_UNSORTED, OP_UNSORTED, OP_UNICODE_SORTED);
}
END_TEST

START_TEST(VELKSzListOr_UNICODE_SORTED_UNICODE_SORTED_Test)
{
    CheckOr(OP_UNICODE_SORTED, OP_UNICODE_SORTED, OP_UNICODE_SORTED, OP_UNICODE_SORTED);
}
END_TEST

TCase *list_or_test(void)
{
    TCase *tc = tcase_create("");
    tcase_add_checked_fixture(tc, ListOrTestSetup, ListOrTestTeardown);
    _tcase_add_test(tc, VELKCSzListOrNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListOr_UNSORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListOr_UNSORTED_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListOr_SORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListOr_SORTED_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListOr_UNSORTED_UNICODE_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListOr_UNICODE_SORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListOr_UNICODE_SORTED_UNICODE_SORTED_Test, 0, 0, 0, 1);
    return tc;
}
