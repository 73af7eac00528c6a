// The string hash set: growth points and string-area sizes, remove-all
// against tombstones, and a differential run against std::unordered_set.
#include <velkc.h>

#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

// Owns a set; tests hand &p to Add, which may move it.
struct Set {
    SzHashSet *p;
    explicit Set(int cbInitSpace = 512) : p(VELKCSzHashSetAlloc(cbInitSpace)) {}
    ~Set() { VELKCSzHashSetFree(p); }
    int Add(const std::string &item) { return VELKCSzHashSetAdd(&p, item.c_str()); }
    bool Contains(const std::string &item) const { return VELKCSzHashSetContains(p, item.c_str()) == 1; }
    const char *Area() const { return reinterpret_cast<const char *>(p->rgSlot + p->nSlot); }
};

// Ten characters, eleven bytes stored.
std::string Item(int i)
{
    char sz[16];
    std::snprintf(sz, sizeof(sz), "item-%05d", i);
    return sz;
}

// The area is sized from the bytes in use per item times the new slot
// count: 11 + 11 * 119 on the 25th item, 11 + 11 * 471 on the 91st.
TEST(HashSet, GrowsSlotsAndAreaOnThe25thAndThe91stItem)
{
    Set s;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(s.Add(Item(i)), 0);
        const int n = i + 1;
        EXPECT_EQ(s.p->nSlot, n <= 24 ? 31 : n <= 90 ? 119 : 471) << "after item " << n;
        EXPECT_EQ(s.p->cbSpace, n <= 24 ? 512 : n <= 90 ? 1320 : 5192) << "after item " << n;
        EXPECT_EQ(s.p->cbFree, s.p->cbSpace - 11 * n);
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(s.Contains(Item(i)));
    }
}

TEST(HashSet, RebuildsWithTheSameSlotsWhenOnlySpaceIsShort)
{
    Set s;
    for (int i = 0; i < 6; ++i) {
        s.Add(std::string(99, 'a') + static_cast<char>('0' + i)); // 101 bytes each
    }
    EXPECT_EQ(s.p->nSlot, 31);
    EXPECT_EQ(s.p->cbSpace, 101 + 101 * 31);
    EXPECT_EQ(s.p->cbFree, s.p->cbSpace - 6 * 101);

    Set fits;
    fits.Add(std::string(510, 'x'));
    EXPECT_EQ(fits.p->cbSpace, 512);
    EXPECT_EQ(fits.p->cbFree, 1);

    Set full; // an exactly full area counts as too little
    full.Add(std::string(511, 'x'));
    EXPECT_EQ(full.p->cbSpace, 512 + 512 * 31);
    EXPECT_EQ(full.p->nSlot, 31);
}

// Many one- and two-character items make the truncated per-item average
// fall short of the bytes in use; the area must still take every item.
TEST(HashSet, TinyItemsNeverOverrunTheArea)
{
    Set s;
    std::vector<std::string> items;
    for (char a = '!'; a <= '~'; ++a) {
        items.emplace_back(1, a);
    }
    for (char a = '!'; a <= '~' && items.size() < 2000; ++a) {
        for (char b = '!'; b <= '~' && items.size() < 2000; ++b) {
            items.push_back(std::string{a, b});
        }
    }
    for (const std::string &item : items) {
        ASSERT_EQ(s.Add(item), 0);
        ASSERT_GE(s.p->cbFree, 0);
        ASSERT_EQ(s.p->pchNext, s.Area() + s.p->cbSpace - s.p->cbFree);
    }
    EXPECT_EQ(VELKCSzHashSetItemNum(s.p), 2000);
    for (const std::string &item : items) {
        ASSERT_TRUE(s.Contains(item)) << item;
    }
}

TEST(HashSet, AddingTwiceKeepsOneItem)
{
    Set s;
    EXPECT_EQ(s.Add(""), 0);
    EXPECT_EQ(s.Add(""), 0);
    EXPECT_EQ(VELKCSzHashSetItemNum(s.p), 1);
    EXPECT_EQ(s.p->cbFree, 511);
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCSzHashSetRemove(s.p, "absent"), 0);
    EXPECT_EQ(VELKCErrGet(), 0u);
}

// "a" and "\x80" share home slot 4 in 31 slots. Unlike the table's
// remove-all, the set's leaves no tombstones behind.
TEST(HashSet, RemoveAllClearsTombstonesRemoveLeavesOne)
{
    Set s;
    s.Add("a");
    s.Add("\x80");
    ASSERT_EQ(VELKCSzHashSetLookDict(s.p, "\x80"), 5);

    VELKCSzHashSetRemove(s.p, "a");
    EXPECT_EQ(VELKCSzHashSetLookDict(s.p, "a"), 6); // the home tombstone is passed over
    s.Add("a");
    EXPECT_NE(s.p->rgSlot[6].pszKey, nullptr);

    VELKCSzHashSetRemoveAll(s.p);
    EXPECT_EQ(VELKCSzHashSetItemNum(s.p), 0);
    EXPECT_EQ(s.p->cbFree, s.p->cbSpace);
    for (int i = 0; i < s.p->nSlot; ++i) {
        ASSERT_EQ(s.p->rgSlot[i].pszKey, nullptr);
        ASSERT_EQ(s.p->rgSlot[i].fUsed, 0);
    }
    EXPECT_FALSE(s.Contains("a"));
    EXPECT_EQ(VELKCSzHashSetLookDict(s.p, "a"), 4);
    s.Add("a");
    EXPECT_EQ(s.p->pchNext, s.Area() + 2);
}

// An item that points into the set itself stays valid across the rebuild
// that its addition triggers.
TEST(HashSet, ItemPointingIntoTheSetSurvivesRebuild)
{
    Set s;
    for (int i = 0; i < 24; ++i) {
        s.Add(Item(i));
    }
    const int idx = VELKCSzHashSetLookDict(s.p, Item(7).c_str());
    ASSERT_EQ(VELKCSzHashSetAdd(&s.p, s.p->rgSlot[idx].pszKey), 0);
    EXPECT_EQ(s.p->nSlot, 119);
    EXPECT_EQ(VELKCSzHashSetItemNum(s.p), 24);
}

// Thousands of adds, removals and membership tests over a small pool,
// mirrored in std::unordered_set; the list export is compared regularly.
TEST(HashSet, MatchesUnorderedSet)
{
    std::mt19937 rng(7);
    std::vector<std::string> pool{"", "\x80", "a"};
    for (int i = 0; i < 800; ++i) {
        pool.push_back(std::string(rng() % 30, static_cast<char>('a' + i % 26)) + std::to_string(i));
    }
    Set s;
    std::unordered_set<std::string> model;
    for (int step = 0; step < 20000; ++step) {
        const std::string &item = pool[rng() % pool.size()];
        const unsigned op = rng() % 100;
        if (op < 50) {
            ASSERT_EQ(s.Add(item), 0);
            model.insert(item);
        } else if (op < 75) {
            ASSERT_EQ(VELKCSzHashSetRemove(s.p, item.c_str()), 0);
            model.erase(item);
        } else if (op < 99) {
            ASSERT_EQ(s.Contains(item), model.count(item) == 1) << "step " << step;
        } else if (step % 5 == 0) {
            VELKCSzHashSetRemoveAll(s.p);
            model.clear();
        }
        ASSERT_EQ(VELKCSzHashSetItemNum(s.p), static_cast<int>(model.size()));
        if (step % 1000 == 0) {
            SzList *pList = VELKCSzListAlloc(512);
            ASSERT_EQ(VELKCSzHashSetToList(s.p, &pList), 0);
            ASSERT_EQ(pList->nItem, static_cast<int>(model.size()));
            for (int i = 0; i < pList->nItem; ++i) {
                EXPECT_EQ(model.count(pList->pszItem[i]), 1u);
            }
            VELKCSzListFree(pList);
        }
    }
}

} // namespace
