// LIST suite: VELKCSzListFind on unsorted and sorted lists.
#include "../kovacore_test.h"
#include "list_test_data.h"

SzList *gpslSorted = NULL;
SzList *gpslUnSorted = NULL;
SzList *gpslUnicode_Sorted = NULL;

static void ListFindTestSetup(void)
{
    gpslUnSorted = VELKCSzListAlloc(512);
    gpslSorted = VELKCSzListAlloc(512);
    VELKCSzListSortItems(gpslSorted, OP_SORTED);
    gpslUnicode_Sorted = VELKCSzListAlloc(512);
    VELKCSzListSortItems(gpslUnicode_Sorted, OP_UNICODE_SORTED);
}

static void ListFindTestTeardown(void)
{
    VELKCSzListFree(gpslUnSorted);
    VELKCSzListFree(gpslSorted);
    VELKCSzListFree(gpslUnicode_Sorted);
    gpslUnSorted = NULL;
    gpslSorted = NULL;
    gpslUnicode_Sorted = NULL;
}

// Pushes "ListTest1" and "ListTest2", then checks that only exact,
// case-sensitive matches are found.
static void CheckFind(SzList **ppslList)
{
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListPush(ppslList, "ListTest1"), >=, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListPush(ppslList, "ListTest2"), >=, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);

    static const char *rgszAbsent[] = {"ListTest0", "List", "listtest1", "ListTest1List"};
    for (int i = 0; i < 4; i++) {
        VELK_RESET();
        VELK_ASSERT_INT_ERR(VELKCSzListFind(*ppslList, rgszAbsent[i]), ==, -1);
        VELK_ASSERT_ERR(ERR_SUCCESS);
    }
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListFind(*ppslList, "ListTest1"), >=, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListFind(*ppslList, "ListTest2"), >=, 0);
    VELK_ASSERT_ERR(ERR_SUCCESS);
}

START_TEST(VELKSzListFindNULLArg)
{
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListFind(NULL, "ListTest1"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListFind(gpslUnSorted, NULL), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);

    // A Unicode-sorted list is refused.
    VELK_RESET();
    VELK_ASSERT_INT_ERR(VELKCSzListFind(gpslUnicode_Sorted, "ListTest1"), ==, -1);
    VELK_ASSERT_ERR(ERR_BAD_PARAMETERS);
}
END_TEST

START_TEST(VELKSzListFindUnSortedTest) { CheckFind(&gpslUnSorted); }
END_TEST

START_TEST(VELKSzListFindSortedTest) { CheckFind(&gpslSorted); }
END_TEST

TCase *list_find_test(void)
{
    TCase *tc = tcase_create("");
    tcase_add_checked_fixture(tc, ListFindTestSetup, ListFindTestTeardown);
    _tcase_add_test(tc, VELKSzListFindNULLArg, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListFindUnSortedTest, 0, 0, 0, 1);
    _tcase_add_test(tc, VELKSzListFindSortedTest, 0, 0, 0, 1);
    return tc;
}
