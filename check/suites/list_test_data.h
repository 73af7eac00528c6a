// Data and checks shared by the LIST suite's test cases.
#pragma once

#include <velkc.h>

// Ten strings for the remove tests.
extern const char *gszrgStr[10];
// The union of the And/Or fixture lists, and their intersection.
extern const char *grgszItems[6];
extern const char *grgszAddItems[2];

// The find tests' lists: unsorted, byte-sorted and Unicode-sorted.
extern SzList *gpslSorted;
extern SzList *gpslUnSorted;
extern SzList *gpslUnicode_Sorted;

// The And and Or fixture: list1 holds "ListTest3", "ListTest1",
// "ListTest0", "ListTest2" and list2 "ListTest4", "ListTest2", "ListTest3",
// "ListTest5", both unsorted.
void ListCombineSetup(SzList **ppslList1, SzList **ppslList2);

// And or Or, both taking list1 by handle.
typedef SzList *(*ListCombineFn)(SzList **ppslList1, const SzList *pslList2, int flag);

// Sorts the fixture lists with mode1 and mode2 (OP_UNSORTED leaves a list as
// built), then combines them into a new list and checks its mode and items,
// and combines them in place and checks list1 the same way.
void CheckListCombine(ListCombineFn fnCombine, SzList **ppslList1, SzList *pslList2, int mode1, int mode2,
                      const char **rgszExpected, int count, int modeNew, int modeInPlace);
