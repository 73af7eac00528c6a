// LIST suite: VELKCSzListAnd for every pair of sort modes.
#include "../kovacore_test.h"
#include "list_test_data.h"

#define STR_ARRAY_SIZE 2

static SzList *gpslList1 = NULL;
static SzList *gpslList2 = NULL;

static void ListAndTestSetup(void) { ListCombineSetup(&gpslList1, &gpslList2); }

static void ListAndTestTeardown(void)
{
    VELKCSzListFree(gpslList1);
    VELKCSzListFree(gpslList2);
    gpslList1 = NULL;
    gpslList2 = NULL;
}

// And in the handle form that the shared check calls.
static SzList *AndByHandle(SzList **ppslList1, const SzList *pslList2, int flag)
{
    return VELKCSzListAnd(*ppslList1, pslList2, flag);
}

// The intersection of the fixture lists is the two grgszAddItems.
static void CheckAnd(int mode1, int mode2, int modeNew, int modeInPlace)
{
    CheckListCombine(AndByHandle, &gpslList1, gpslList2, mode1, mode2, grgszAddItems, STR_ARRAY_SIZE, modeNew,
                     modeInPlace);
}

START_TEST(VELKCSzListAndNULLArg)
{
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListAnd(NULL, gpslList2, OP_NEW_LIST), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListAnd(gpslList1, NULL, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // An unknown flag gives list1 back unchanged.
    VELKCSzListAnd(gpslList1, gpslList2, 255);

    // Two sorted lists must share their mode.
    VELKCSzListSortItems(gpslList1, OP_SORTED);
    VELKCSzListSortItems(gpslList2, OP_UNICODE_SORTED);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListAnd(gpslList1, gpslList2, OP_NEW_LIST), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKCSzListAnd_UNSORTED_UNSORTED_Test) { CheckAnd(OP_UNSORTED, OP_UNSORTED, OP_UNSORTED, OP_UNSORTED); }
END_TEST

START_TEST(VELKCSzListAnd_UNSORTED_SORTED_Test) { CheckAnd(OP_UNSORTED, OP_SORTED, OP_UNSORTED, OP_UNSORTED); }
END_TEST

START_TEST(VELKCSzListAnd_SORTED_UNSORTED_Test) { CheckAnd(OP_SORTED, OP_UNSORTED, OP_UNSORTED, OP_SORTED); }
END_TEST

START_TEST(VELKCSzListAnd_SORTED_SORTED_Test) { CheckAnd(OP_SORTED, OP_SORTED, OP_SORTED, OP_SORTED); }
END_TEST

START_TEST(VELKCSzListAnd_UNSORTED_UNICODE_SORTED_Test)
{
    CheckAnd(OP_UNSORTED, OP_UNICODE_SORTED, OP_UNSORTED, OP_UNSORTED);
}
END_TEST

START_TEST(VELKCSzListAnd_UNICODE_SORTED_UNSORTED_Test)
{
    CheckAnd(OP_UNICODE_SORTED, OP_UNSORTED, OP_UNSORTED, OP_UNICODE_SORTED);
}
END_TEST

START_TEST(VELKCSzListAnd_UNICODE_SORTED_UNICODE_SORTED_Test)
{
    CheckAnd(OP_UNICODE_SORTED, OP_UNICODE_SORTED, OP_UNICODE_SORTED, OP_UNICODE_SORTED);
}
END_TEST

TCase *list_and_test(void)
{
    TCase *tc = tcase_create("");
    tcase_add_checked_fixture(tc, ListAndTestSetup, ListAndTestTeardown);
    _tcase_add_test(tc, VELKCSzListAndNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_UNSORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_UNSORTED_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_SORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_SORTED_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_UNSORTED_UNICODE_SORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_UNICODE_SORTED_UNSORTED_Test, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListAnd_UNICODE_SORTED_UNICODE_SORTED_Test, 0, 0, 0, 1);
    return tc;
}
