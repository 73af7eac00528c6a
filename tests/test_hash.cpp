// The hash table and the hash set beyond what the probe model of
// test_hash_model.cpp follows: the hash code itself, arguments that point
// into the block they make grow, a table filled to its last slot, and an
// area filled with tiny items.
#include "hash/hash_internal.hpp"

#include <velkc.h>
#include <velkc/containers.hpp>

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string Numbered(const char *prefix, int i) { return prefix + std::to_string(i); }

TEST(HashCode, SumsLittleEndianWordsOfUnsignedBytes)
{
    EXPECT_EQ(VELKCRadixHashCode("a", 31), 97 % 31);
    EXPECT_EQ(VELKCRadixHashCode("", 31), 0);
    EXPECT_EQ(VELKCRadixHashCode(nullptr, 31), -1);
    EXPECT_EQ(VELKCRadixHashCode("a", 0), -1);
    EXPECT_EQ(VELKCRadixHashCode("abcde", 1000003), static_cast<int>((0x64636261u + 0x65u) % 1000003));
    // The sum wraps at 32 bits.
    EXPECT_EQ(VELKCRadixHashCode("\xff\xff\xff\xff\xff\xff\xff\xff\x80", 119),
              static_cast<int>((0xFFFFFFFFu + 0xFFFFFFFFu + 0x80u) % 119));
}

// The word sum taken four bytes at a time, as written down plainly.
unsigned PlainWordSum(const std::string &text)
{
    unsigned sum = 0;
    for (size_t i = 0; i < text.size(); i += 4) {
        unsigned word = 0;
        for (size_t j = 0; j < 4 && i + j < text.size(); ++j) {
            word |= static_cast<unsigned>(static_cast<unsigned char>(text[i + j])) << (8 * j);
        }
        sum += word;
    }
    return sum;
}

// Every length from 0 to 40 bytes, so that each way a text's last bytes
// can be read is met, with bytes above 0x7f among them.
TEST(HashCode, MatchesThePlainWordSumAtEveryLength)
{
    constexpr unsigned kSlots = 2147483647u;
    std::string text;
    for (int n = 0; n <= 40; ++n) {
        EXPECT_EQ(VELKCRadixHashCode(text.c_str(), kSlots), static_cast<int>(PlainWordSum(text) % kSlots))
            << n << " bytes";
        text.push_back(static_cast<char>(n % 3 == 0 ? 0x80 + n * 7 : 'a' + n % 26));
    }
}

// Texts read from a block stay usable as arguments when storing them makes
// the block move: the 25th entry grows 31 slots to 119.
TEST(HashGrowth, ArgumentsPointingIntoTheBlockSurvive)
{
    velkc::Hash table(VELKCSzHashAlloc(512));
    velkc::HashSet set(VELKCSzHashSetAlloc(512));
    for (int i = 0; i < 24; ++i) {
        ASSERT_GE(VELKCSzHashSetValue(table.address(), Numbered("key", i).c_str(), Numbered("value", i).c_str()), 0);
        ASSERT_EQ(VELKCSzHashSetAdd(set.address(), Numbered("item", i).c_str()), 0);
    }
    ASSERT_EQ(table->nSlot, 31);
    const char *key = table->rgSlot[VELKCGetLookDict(table.get(), "key3")].pszKey;
    ASSERT_GE(VELKCSzHashSetValue(table.address(), key, VELKCSzHashGetValue(table.get(), "key15")), 0);
    EXPECT_EQ(table->nSlot, 119);
    EXPECT_STREQ(VELKCSzHashGetValue(table.get(), "key3"), "value15");

    ASSERT_EQ(set->nSlot, 31);
    const char *item = set->rgSlot[VELKCSzHashSetLookDict(set.get(), "item7")].pszKey;
    ASSERT_EQ(VELKCSzHashSetAdd(set.address(), item), 0);
    EXPECT_EQ(set->nSlot, 119);
    EXPECT_EQ(VELKCSzHashSetItemNum(set.get()), 24);
}

// A table filled to its last slot, past any growth point, through pairs
// written at the slots a lookup for writing names: its index entries crowd
// so far from their homes that lookups must fall back on the probe walk,
// and still find every key where it is, and no key that is absent.
TEST(HashIndex, AFullTableStillFindsEveryKey)
{
    constexpr int kSlots = 4095;
    velkc::Hash table(VELKCIHashAllocator(kSlots, 1 << 16));
    ASSERT_NE(table.get(), nullptr);
    std::vector<int> slot(kSlots);
    for (int i = 0; i < kSlots; ++i) {
        slot[i] = VELKCSetLookDict(table.get(), Numbered("key", i).c_str());
        ASSERT_GE(slot[i], 0);
        VELKCInsertPair(table.get(), Numbered("key", i).c_str(), "v", slot[i]);
    }
    ASSERT_EQ(VELKCSzHashPairNum(table.get()), kSlots);
    for (int i = 0; i < kSlots; ++i) {
        ASSERT_EQ(VELKCGetLookDict(table.get(), Numbered("key", i).c_str()), slot[i]) << i;
        ASSERT_EQ(VELKCGetLookDict(table.get(), Numbered("absent", i).c_str()), -1) << i;
    }
    for (int i = 0; i < kSlots; i += 2) {
        ASSERT_STREQ(VELKCSzHashRemoveKey(table.get(), Numbered("key", i).c_str()), "v");
    }
    for (int i = 0; i < kSlots; ++i) {
        ASSERT_EQ(VELKCGetLookDict(table.get(), Numbered("key", i).c_str()), i % 2 == 0 ? -1 : slot[i]) << i;
    }
    EXPECT_EQ(VELKCISzHashIndexCheck(table.get()), 1);
}

// Whether a key stored at the very end of a set's string area equals a
// query held in a buffer of exactly its size: the same key, the key with
// any one byte changed, every prefix and longer keys that start with it,
// at every length from 0 to 40 bytes (under the sanitizers, a read past
// either buffer fails the test).
TEST(HashIndex, StoredKeyCompareSeesEveryByteAndNoMore)
{
    std::string key;
    for (int n = 0; n <= 40; ++n) {
        velkc::HashSet set(VELKCSzHashSetAllocator(31, n + 2));
        ASSERT_EQ(VELKCSzHashSetAdd(set.address(), key.c_str()), 0);
        ASSERT_EQ(set->cbFree, 1) << "the key must end the area";
        const char *stored = set->rgSlot[VELKCSzHashSetLookDict(set.get(), key.c_str())].pszKey;
        std::vector<std::string> queries{key, key + "x", key + "0123456789abcdef"};
        for (int i = 0; i < n; ++i) {
            queries.push_back(key.substr(0, static_cast<size_t>(i)));
            std::string changed = key;
            changed[static_cast<size_t>(i)] ^= 0x01;
            queries.push_back(changed);
        }
        for (const std::string &query : queries) {
            const auto exact = std::make_unique<char[]>(query.size() + 1);
            std::memcpy(exact.get(), query.c_str(), query.size() + 1);
            EXPECT_EQ(velkc::hash::SameStoredKey(stored, exact.get(), query.size()), query == key)
                << '"' << key << "\" vs \"" << query << '"';
        }
        key.push_back(static_cast<char>(n % 3 == 0 ? 0x80 + n * 7 : 'a' + n % 26));
    }
}

// Many one- and two-character items make the truncated per-item average
// fall short of the bytes in use; the set's area must still take them all.
TEST(HashGrowth, TinyItemsNeverOverrunTheSetsArea)
{
    velkc::HashSet set(VELKCSzHashSetAlloc(512));
    std::vector<std::string> items;
    for (char a = '!'; a <= '~'; ++a) {
        items.emplace_back(1, a);
        for (char b = '!'; b <= '~' && items.size() < 2000; ++b) {
            items.push_back(std::string{a, b});
        }
    }
    for (const std::string &item : items) {
        ASSERT_EQ(VELKCSzHashSetAdd(set.address(), item.c_str()), 0);
        ASSERT_GE(set->cbFree, 0);
        const char *area = reinterpret_cast<const char *>(set->rgSlot + set->nSlot);
        ASSERT_EQ(set->pchNext, area + set->cbSpace - set->cbFree);
    }
    EXPECT_EQ(VELKCSzHashSetItemNum(set.get()), static_cast<int>(items.size()));
    for (const std::string &item : items) {
        ASSERT_EQ(VELKCSzHashSetContains(set.get(), item.c_str()), 1) << item;
    }
}

} // namespace
