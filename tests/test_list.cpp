// The string list: holes, sort modes and finding among duplicates, and the
// And/Or cases the LIST suite leaves out.
#include <velkc.h>
#include <velkc/containers.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using ListPtr = velkc::List;

// A list holding items, sorted by mode.
struct List : ListPtr {
    explicit List(const std::vector<std::string> &items = {}, int mode = OP_UNSORTED) : ListPtr(VELKCSzListAlloc(0))
    {
        for (const std::string &s : items) {
            EXPECT_GE(VELKCSzListPush(address(), s.c_str()), 0);
        }
        VELKCSzListSortItems(get(), mode);
    }
};

std::vector<std::string> Items(const SzList *p) { return {p->pszItem, p->pszItem + p->nItem}; }

TEST(SzList, InsertBeyondEndLeavesHolesThatSurviveExpandAndClean)
{
    ListPtr list(VELKCSzListAlloc(512));
    ASSERT_EQ(VELKCSzListInsert(list.address(), 5, "five"), 5);
    ASSERT_EQ(VELKCSzListInsert(list.address(), 7, ""), 7); // a real empty string, not a hole
    EXPECT_EQ(list->nItem, 8);
    EXPECT_EQ(VELKCSzListFind(list.get(), ""), 7);
    EXPECT_STREQ(VELKCSzListGet(list.get(), 6), "");

    SzList *expanded = VELKCISzListExpand(list.get());
    ASSERT_NE(expanded, nullptr);
    *list.address() = expanded;
    for (int i : {0, 1, 2, 3, 4, 6}) {
        EXPECT_EQ(list->pszItem[i], list->pszEmpty) << i;
    }
    EXPECT_EQ(VELKCSzListClean(list.get()), 2);
    EXPECT_EQ(Items(list.get()), (std::vector<std::string>{"five", ""}));
}

TEST(SzList, SortedInsertKeepsOrderAndDuplicates)
{
    for (int mode : {OP_SORTED, OP_UNICODE_SORTED}) {
        List list({}, mode);
        std::mt19937 rng(mode);
        for (int i = 0; i < 300; ++i) {
            const std::string s = (i % 2 ? "k" : "K") + std::to_string(rng() % 50);
            const int at = VELKCSzListInsert(list.address(), 0, s.c_str()); // the index is ignored
            ASSERT_GE(at, 0);
            ASSERT_STREQ(list->pszItem[at], s.c_str());
        }
        ASSERT_EQ(list->nItem, 300);
        for (int i = 1; i < list->nItem; ++i) {
            const char *a = list->pszItem[i - 1];
            const char *b = list->pszItem[i];
            ASSERT_LE(mode == OP_SORTED ? std::strcmp(a, b) : VELKCUnicodeUTF8StrCaseCmp(a, b), 0);
        }
    }
}

TEST(SzList, SortItemsSortsOnlyUnsortedLists)
{
    List list({"b", "C", "a"});
    ASSERT_EQ(VELKCSzListInsert(list.address(), 4, "D"), 4); // leaves a hole at 3

    VELKCSzListSortItems(list.get(), OP_SORTED);
    EXPECT_EQ(Items(list.get()), (std::vector<std::string>{"C", "D", "a", "b"}));

    // Already sorted: a different mode only relabels the list.
    VELKCSzListSortItems(list.get(), OP_UNICODE_SORTED);
    EXPECT_EQ(list->fMode, OP_UNICODE_SORTED);
    EXPECT_EQ(Items(list.get()), (std::vector<std::string>{"C", "D", "a", "b"}));

    VELKCSzListSortItems(list.get(), OP_UNSORTED);
    EXPECT_EQ(Items(list.get()), (std::vector<std::string>{"C", "D", "a", "b"}));
    VELKCSzListSortItems(list.get(), OP_UNICODE_SORTED);
    EXPECT_EQ(Items(list.get()), (std::vector<std::string>{"a", "b", "C", "D"}));
}

// Which of several equal items Find reports: the first in a scan, the one
// the binary search meets first in a sorted list.
TEST(SzList, FindPicksAmongDuplicates)
{
    List unsorted({"bc", "b", "ab", "b", "bd", "b"});
    EXPECT_EQ(VELKCSzListFind(unsorted.get(), "b"), 1);
    EXPECT_EQ(VELKCSzListFind(unsorted.get(), "bd"), 4);
    EXPECT_EQ(VELKCSzListFind(unsorted.get(), "bb"), -1);
    EXPECT_EQ(VELKCSzListFind(unsorted.get(), ""), -1);
    List sorted({"a", "b", "b", "b", "b", "b", "c", "d"}, OP_SORTED);
    EXPECT_EQ(VELKCSzListFind(sorted.get(), "b"), 3);
    EXPECT_EQ(VELKCSzListFind(sorted.get(), "d"), 7);
    EXPECT_EQ(VELKCSzListFind(sorted.get(), "bb"), -1);
    EXPECT_EQ(VELKCSzListFindIndex(sorted.get(), 7, 0, "bb", 0), ~6);
    List caseless({"a", "B", "b", "B", "c"}, OP_UNICODE_SORTED);
    EXPECT_EQ(VELKCSzListCaseFind(caseless.get(), "b"), 2);
    EXPECT_EQ(VELKCSzListFindIndex(caseless.get(), 4, 0, "\xff", 1), ~0);
}

TEST(SzList, FindRefusesTheOtherSortedMode)
{
    List sorted({"x"}, OP_SORTED);
    List caseless({"x"}, OP_UNICODE_SORTED);
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCSzListCaseFind(sorted.get(), "x"), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
    EXPECT_EQ(VELKCSzListFind(caseless.get(), "x"), -1);
    EXPECT_EQ(VELKCSzListCaseFind(caseless.get(), "X"), 0);
}

// Two sorted lists merge duplicates pairwise: And keeps the smaller count of
// each item, Or the larger.
TEST(SzList, MergeOfSortedListsCountsDuplicates)
{
    List l1({"a", "a", "b", "c", "c", "c"}, OP_SORTED);
    List l2({"a", "c", "c", "d", "d"}, OP_SORTED);
    ListPtr andNew(VELKCSzListAnd(l1.get(), l2.get(), OP_NEW_LIST));
    EXPECT_EQ(Items(andNew.get()), (std::vector<std::string>{"a", "c", "c"}));
    SzList *p1 = l1.get();
    ListPtr orNew(VELKCSzListOr(&p1, l2.get(), OP_NEW_LIST));
    EXPECT_EQ(Items(orNew.get()), (std::vector<std::string>{"a", "a", "b", "c", "c", "c", "d", "d"}));
}

// An unknown flag works on list1 but never removes from it.
TEST(SzList, UnknownFlagNeverRemoves)
{
    List l1({"x", "y"});
    List l2({"y", "z"}, OP_SORTED);
    ASSERT_EQ(VELKCSzListAnd(l1.get(), l2.get(), 255), l1.get());
    EXPECT_EQ(Items(l1.get()), (std::vector<std::string>{"x", "y"}));
    const SzList *result = VELKCSzListOr(l1.address(), l2.get(), 255);
    ASSERT_EQ(result, l1.get());
    EXPECT_EQ(Items(l1.get()), (std::vector<std::string>{"x", "y", "y", "z"}));
}

} // namespace
