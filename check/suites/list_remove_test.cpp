// LIST suite: VELKCSzListRemove, VELKCSzListShift and VELKCSzListPop.
#include "../kovacore_test.h"
#include "list_test_data.h"

#define STR_ARRAY_SIZE 10

static SzList *gpslRemove = NULL;

static void ListRemoveTestSetup(void)
{
    gpslRemove = VELKCSzListAlloc(512);
    for (int i = 0; i < STR_ARRAY_SIZE; i++) {
        VELKCSzListPush(&gpslRemove, gszrgStr[i]);
    }
}

static void ListRemoveTestTeardown(void)
{
    VELKCSzListFree(gpslRemove);
    gpslRemove = NULL;
}

// The list holds exactly gszrgStr entries first..last, in order.
static void CheckListIsRange(int first, int last)
{
    VELK_ASSERT_INT(gpslRemove->nItem, ==, last - first + 1);
    for (int i = first; i <= last; i++) {
        VELK_ASSERT_STR(gpslRemove->pszItem[i - first], gszrgStr[i]);
    }
}

START_TEST(VELKCSzListRemoveNULLArg)
{
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListRemove(NULL, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListRemove(gpslRemove, -1), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListRemove(gpslRemove, 11), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

// Shift and Pop refuse a null list and an empty one alike.
static void CheckTakeNULLArg(char *(*pfnTake)(SzList *))
{
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(pfnTake(NULL), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELKCSzListRemoveAll(gpslRemove);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(pfnTake(gpslRemove), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}

START_TEST(VELKCSzListShiftNULLArg) { CheckTakeNULLArg(VELKCSzListShift); }
END_TEST

START_TEST(VELKCSzListPopNULLArg) { CheckTakeNULLArg(VELKCSzListPop); }
END_TEST

START_TEST(VELKCSzListRemoveEmptyListTest)
{
    SzList *pslEmpty = VELKCSzListAlloc(512);

    VELK_ASSERT_PTR(pslEmpty, !=, NULL);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListRemove(pslEmpty, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELKCSzListFree(pslEmpty);

    VELKCSzListRemoveAll(gpslRemove);
    VELK_RESET();
    VELK_ASSERT_PTR_ERR(VELKCSzListRemove(gpslRemove, 0), ==, NULL);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
    VELK_ASSERT_INT(gpslRemove->nItem, ==, 0);
}
END_TEST

// Removes from the middle, the end and the front; after each removal the
// remaining items keep their order.
START_TEST(VELKCSzListRemoveTest)
{
    static const int rgiRemove[] = {4, 8, 0, 3, 5, 0, 1, 0, 1, 0};
    int rgiLeft[STR_ARRAY_SIZE];
    int nLeft = STR_ARRAY_SIZE;

    for (int i = 0; i < STR_ARRAY_SIZE; i++) {
        rgiLeft[i] = i;
    }
    for (int count = 1; count <= STR_ARRAY_SIZE; count++) {
        const int index = rgiRemove[count - 1];
        VELK_RESET();
        VELK_ASSERT_STR(VELKCSzListRemove(gpslRemove, index), gszrgStr[rgiLeft[index]]);
        VELK_ASSERT_ERR(ERR_SUCCESS);
        VELK_ASSERT_INT(gpslRemove->nItem, ==, STR_ARRAY_SIZE - count);
        nLeft--;
        for (int i = index; i < nLeft; i++) {
            rgiLeft[i] = rgiLeft[i + 1];
        }
        for (int i = 0; i < nLeft; i++) {
            VELK_ASSERT_STR(gpslRemove->pszItem[i], gszrgStr[rgiLeft[i]]);
        }
    }
}
END_TEST

START_TEST(VELKCSzListShiftTest)
{
    VELK_RESET();
    VELK_ASSERT_STR(VELKCSzListShift(gpslRemove), "abcd0");
    VELK_ASSERT_ERR(ERR_SUCCESS);
    CheckListIsRange(1, STR_ARRAY_SIZE - 1);
}
END_TEST

START_TEST(VELKCSzListPopTest)
{
    VELK_RESET();
    VELK_ASSERT_STR(VELKCSzListPop(gpslRemove), "iklxl9");
    VELK_ASSERT_ERR(ERR_SUCCESS);
    CheckListIsRange(0, STR_ARRAY_SIZE - 2);
}
END_TEST

TCase *list_remove_test(void)
{
    TCase *tc = tcase_create("list remove");
    tcase_add_checked_fixture(tc, ListRemoveTestSetup, ListRemoveTestTeardown);
    _tcase_add_test(tc, VELKCSzListRemoveNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListShiftNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListPopNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListRemoveEmptyListTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListRemoveTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListShiftTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKCSzListPopTest, 0, 0, 0, 1);
    return tc;
}
