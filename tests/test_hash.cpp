// The string hash table: hash code, growth points and sizes, in-place
// updates, tombstones, and a differential run against std::unordered_map.
#include <velkc.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// Owns a table; tests hand &p to the functions that may move it.
struct Table {
    SzHash *p;
    explicit Table(int cbInitSpace = 512) : p(VELKCSzHashAlloc(cbInitSpace)) {}
    ~Table() { VELKCSzHashFree(p); }
    int Set(const std::string &key, const std::string &value) { return VELKCSzHashSetValue(&p, key.c_str(), value.c_str()); }
    const char *Get(const std::string &key) const { return VELKCSzHashGetValue(p, key.c_str()); }
};

std::string Key(int i) { return "key" + std::to_string(i); }

TEST(HashTable, AllocRaisesSmallSizesTo512)
{
    for (int cb : {0, -5, 511, 512, 4096}) {
        Table t(cb);
        ASSERT_NE(t.p, nullptr);
        EXPECT_EQ(t.p->cbSpace, cb < 512 ? 512 : cb);
        EXPECT_EQ(t.p->cbFree, t.p->cbSpace);
        EXPECT_EQ(t.p->nSlot, 31);
        EXPECT_EQ(t.p->pchNext, reinterpret_cast<char *>(t.p->rgSlot + 31));
    }
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCIHashAllocator(-1, 16), nullptr);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});
}

TEST(HashTable, RadixHashCodeSumsLittleEndianWords)
{
    EXPECT_EQ(VELKCRadixHashCode("a", 31), 97 % 31);
    EXPECT_EQ(VELKCRadixHashCode("", 31), 0);
    EXPECT_EQ(VELKCRadixHashCode(nullptr, 31), -1);
    EXPECT_EQ(VELKCRadixHashCode("a", 0), -1);
    const std::uint32_t abcde = 0x64636261u + 0x65u;
    EXPECT_EQ(VELKCRadixHashCode("abcde", 1000003), static_cast<int>(abcde % 1000003));
    // Bytes are unsigned and the sum wraps at 32 bits.
    const std::uint32_t wrapped = 0xFFFFFFFFu + 0xFFFFFFFFu + 0x80u;
    EXPECT_EQ(VELKCRadixHashCode("\xff\xff\xff\xff\xff\xff\xff\xff\x80", 119), static_cast<int>(wrapped % 119));
}

TEST(HashTable, SlotCountGrowsOnThe25thAndThe91stPair)
{
    Table t;
    for (int i = 0; i < 100; ++i) {
        ASSERT_GE(t.Set(Key(i), "v" + std::to_string(i)), 0);
        const int n = i + 1;
        EXPECT_EQ(t.p->nSlot, n <= 24 ? 31 : n <= 90 ? 119 : 471) << "after pair " << n;
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_STREQ(t.Get(Key(i)), ("v" + std::to_string(i)).c_str());
    }
}

// Pairs of 25 bytes (a 3-byte key, a 21-byte value): the 21st finds 12
// bytes free and grows the area by the whole capacity's average per pair
// times the free slots, plus its own need.
TEST(HashTable, StringAreaGrowthUsesCapacityAverage)
{
    Table t;
    const std::string value(20, 'v');
    for (int i = 0; i < 20; ++i) {
        t.Set("k" + std::to_string(i + 10), value);
    }
    EXPECT_EQ(t.p->cbFree, 12);
    t.Set("k30", value);
    EXPECT_EQ(t.p->cbSpace, 512 + (512 / 20) * (31 - 20) + 25);
    EXPECT_EQ(t.p->cbFree, 812 - 21 * 25);
    EXPECT_EQ(t.p->nSlot, 31);
    for (int i = 31; i < 35; ++i) {
        t.Set("k" + std::to_string(i), value);
    }
    // Only the slots grew on the 25th pair: the area keeps its size.
    EXPECT_EQ(t.p->nSlot, 119);
    EXPECT_EQ(t.p->cbSpace, 812);
    EXPECT_EQ(t.p->cbFree, 812 - 25 * 25);
    EXPECT_EQ(t.p->pchNext, reinterpret_cast<char *>(t.p->rgSlot + 119) + 25 * 25);
}

TEST(HashTable, ExactlyFullAreaCountsAsTooLittle)
{
    Table fits;
    fits.Set("k", std::string(508, 'x')); // needs 511 of 512 bytes
    EXPECT_EQ(fits.p->cbSpace, 512);
    EXPECT_EQ(fits.p->cbFree, 1);

    Table full;
    full.Set("k", std::string(509, 'x')); // needs all 512: an empty table grows by 512 per slot
    EXPECT_EQ(full.p->cbSpace, 512 + 512 * 31 + 512);
    EXPECT_EQ(full.p->cbFree, full.p->cbSpace - 512);
}

TEST(HashTable, ShorterValuesOverwriteInPlaceLongerOnesConsumeSpace)
{
    Table t;
    const int idx = t.Set("key", "twelve bytes");
    const char *pszStored = t.Get("key");
    const int cbFree = t.p->cbFree;

    EXPECT_EQ(t.Set("key", "equal length"), idx);
    EXPECT_EQ(t.Get("key"), pszStored);
    EXPECT_EQ(t.Set("key", "short"), idx);
    EXPECT_EQ(t.Get("key"), pszStored);
    EXPECT_STREQ(pszStored, "short");
    EXPECT_EQ(t.p->cbFree, cbFree);

    // Longer than the current value, though not than the bytes it once had.
    EXPECT_EQ(t.Set("key", "shorter"), idx);
    EXPECT_STREQ(t.Get("key"), "shorter");
    EXPECT_EQ(t.p->cbFree, cbFree - 8);
    EXPECT_EQ(VELKCSzHashPairNum(t.p), 1);
}

// "a", "\x80" and "\x9f" all have home slot 4 in 31 slots.
TEST(HashTable, TombstonesMetWhileProbingAreReusedButNeverAtHome)
{
    Table t;
    ASSERT_EQ(t.Set("a", "1"), 4);
    ASSERT_EQ(t.Set("\x80", "2"), 5);
    ASSERT_EQ(t.Set("\x9f", "3"), 6);

    EXPECT_STREQ(VELKCSzHashRemoveKey(t.p, "\x80"), "2");
    EXPECT_EQ(VELKCGetLookDict(t.p, "\x9f"), 6); // probes through the tombstone
    EXPECT_EQ(VELKCSetLookDict(t.p, "\x80"), 5);
    EXPECT_EQ(t.Set("\x80", "2"), 5);

    EXPECT_STREQ(VELKCSzHashRemoveKey(t.p, "a"), "1");
    EXPECT_EQ(t.Set("a", "1"), 7); // its home tombstone is passed over
    EXPECT_EQ(VELKCGetLookDict(t.p, "a"), 7);
    EXPECT_EQ(t.p->rgSlot[4].pszKey, nullptr);
    EXPECT_NE(t.p->rgSlot[4].pszVal, nullptr);
}

TEST(HashTable, RemoveAllLeavesTombstonesAndReusesTheArea)
{
    Table t;
    t.Set("a", "1");
    t.Set("b", "2");
    VELKCHashRemoveAll(t.p);
    EXPECT_EQ(VELKCSzHashPairNum(t.p), 0);
    EXPECT_EQ(t.p->cbFree, t.p->cbSpace);
    EXPECT_EQ(t.Get("a"), nullptr);
    EXPECT_NE(t.p->rgSlot[4].pszVal, nullptr); // "a" left a tombstone at home
    EXPECT_EQ(t.Set("a", "again"), 5);
    EXPECT_EQ(t.p->pchNext, reinterpret_cast<char *>(t.p->rgSlot + 31) + 8);
}

TEST(HashTable, NullArgumentsOnlyPairNumRecordsAnError)
{
    SzList *pList = VELKCSzListAlloc(512);
    VELKCSzListPush(&pList, "kept");
    VELKCErrSetEx(0, "test", 0);
    EXPECT_EQ(VELKCSzHashGetLength(nullptr), -1);
    EXPECT_EQ(VELKCSzHashEnumKey(nullptr, &pList), -1);
    // The internal steps behind set-value stay silent as well.
    int idx = 0;
    EXPECT_EQ(VELKCICheckSpace(nullptr, 8), nullptr);
    EXPECT_EQ(VELKCVELKIReSizeHash(nullptr, 31, 512), nullptr);
    EXPECT_EQ(VELKCInsertNewPair(nullptr, "k", "v", &idx), nullptr);
    EXPECT_EQ(VELKCVELKIUpdateValue(nullptr, "k", "v", &idx), nullptr);
    EXPECT_EQ(VELKCErrGet(), 0u);
    EXPECT_EQ(VELKCSzHashPairNum(nullptr), -1);
    EXPECT_EQ(VELKCErrGet(), unsigned{ERR_BAD_PARAMETERS});

    Table t;
    EXPECT_EQ(VELKCSzHashEnumKey(t.p, &pList), 0);
    EXPECT_EQ(pList->nItem, 1); // an empty table leaves the list alone
    VELKCSzListFree(pList);
}

// Texts read from the table stay usable as arguments when the table has to
// move to a larger block to store them.
TEST(HashTable, ArgumentsPointingIntoTheTableSurviveGrowth)
{
    Table t;
    for (int i = 0; i < 24; ++i) {
        t.Set(Key(i), "value" + std::to_string(i));
    }
    ASSERT_EQ(t.p->nSlot, 31);
    // Key and value both stored in the table; the longer value makes the
    // update grow the table.
    const char *pszKey = t.p->rgSlot[VELKCGetLookDict(t.p, "key3")].pszKey;
    ASSERT_GE(VELKCSzHashSetValue(&t.p, pszKey, t.Get("key15")), 0);
    ASSERT_EQ(t.p->nSlot, 119);
    EXPECT_STREQ(t.Get("key3"), "value15");
}

// Thousands of sets, updates, removals and lookups over a small key pool,
// mirrored in std::unordered_map; the whole content is compared regularly.
TEST(HashTable, MatchesUnorderedMap)
{
    std::mt19937 rng(20240611);
    std::vector<std::string> pool{"", "\x80", "\xff\xfe", "a"};
    for (int i = 0; i < 600; ++i) {
        pool.push_back(std::string(rng() % 24, static_cast<char>('A' + i % 26)) + std::to_string(i));
    }
    Table t;
    std::unordered_map<std::string, std::string> model;
    for (int step = 0; step < 20000; ++step) {
        const std::string &key = pool[rng() % pool.size()];
        const unsigned op = rng() % 100;
        if (op < 50) {
            const std::string value(rng() % 40, static_cast<char>('a' + step % 26));
            const int idx = t.Set(key, value);
            ASSERT_GE(idx, 0);
            ASSERT_STREQ(t.p->rgSlot[idx].pszKey, key.c_str());
            model[key] = value;
        } else if (op < 75) {
            const char *psz = VELKCSzHashRemoveKey(t.p, key.c_str());
            const auto it = model.find(key);
            ASSERT_EQ(psz != nullptr, it != model.end());
            if (it != model.end()) {
                ASSERT_EQ(psz, it->second);
                model.erase(it);
            }
        } else if (op < 99) {
            const char *psz = t.Get(key);
            const auto it = model.find(key);
            ASSERT_EQ(psz != nullptr, it != model.end()) << "step " << step;
            if (psz != nullptr) {
                ASSERT_EQ(psz, it->second);
            }
        } else if (step % 5 == 0) {
            VELKCHashRemoveAll(t.p);
            model.clear();
        }
        ASSERT_EQ(VELKCSzHashGetLength(t.p), static_cast<int>(model.size()));
        if (step % 1000 == 0) {
            SzList *pList = VELKCSzListAlloc(512);
            ASSERT_EQ(VELKCSzHashEnumKey(t.p, &pList), static_cast<int>(model.size()));
            ASSERT_EQ(pList->nItem, static_cast<int>(model.size()));
            for (int i = 0; i < pList->nItem; ++i) {
                EXPECT_EQ(model.count(pList->pszItem[i]), 1u);
            }
            VELKCSzListFree(pList);
        }
    }
}

} // namespace
