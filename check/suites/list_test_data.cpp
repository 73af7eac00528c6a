// Data and checks shared by the LIST suite's test cases.
#include "list_test_data.h"

#include "../kovacore_test.h"

const char *gszrgStr[10] = {"abcd0",   "ggc1",     "aadfas2",  "adfaedz3",  "aefaefxzv4",
                            "trjyit5", "tcvlofd6", "volf,wx7", "tooclfkl8", "iklxl9"};

const char *grgszItems[6] = {"ListTest0", "ListTest1", "ListTest2", "ListTest3", "ListTest4", "ListTest5"};

const char *grgszAddItems[2] = {"ListTest2", "ListTest3"};

void ListCombineSetup(SzList **ppslList1, SzList **ppslList2)
{
    static const char *rgszList1[] = {"ListTest3", "ListTest1", "ListTest0", "ListTest2"};
    static const char *rgszList2[] = {"ListTest4", "ListTest2", "ListTest3", "ListTest5"};

    *ppslList1 = VELKCSzListAlloc(512);
    *ppslList2 = VELKCSzListAlloc(512);
    for (int i = 0; i < 4; i++) {
        VELKCSzListPush(ppslList1, rgszList1[i]);
        VELKCSzListPush(ppslList2, rgszList2[i]);
    }
}

void CheckListCombine(ListCombineFn fnCombine, SzList **ppslList1, SzList *pslList2, int mode1, int mode2,
                      const char **rgszExpected, int count, int modeNew, int modeInPlace)
{
    VELKCSzListSortItems(*ppslList1, mode1);
    VELKCSzListSortItems(pslList2, mode2);

    VELK_RESET();
    SzList *pslNew = fnCombine(ppslList1, pslList2, OP_NEW_LIST);
    VELK_ASSERT_PTR_ERR(pslNew, !=, NULL);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT(pslNew->fMode, ==, modeNew);
    VELK_ASSERT(0 == ListSameWithStrArray(pslNew, rgszExpected, count));
    VELKCSzListFree(pslNew);

    VELK_RESET();
    VELK_ASSERT_PTR_ERR(fnCombine(ppslList1, pslList2, 0), ==, *ppslList1);
    VELK_ASSERT_ERR(ERR_SUCCESS);
    VELK_ASSERT_INT((*ppslList1)->fMode, ==, modeInPlace);
    VELK_ASSERT(0 == ListSameWithStrArray(*ppslList1, rgszExpected, count));
}
