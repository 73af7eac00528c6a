// The hash table and the hash set against a plain model of linear probing
// from the word-sum home slot: random operation sequences over patterned
// and random keys must give the same slot indices, slot states, growth
// points and sizes, and the same answers from the lookups.
#include <velkc.h>
#include <velkc/containers.hpp>

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

enum class State { Empty, Live, Tomb };

// The slot counts a table or a set grows through from the 31 slots of a
// new one, and the live entries at which an insertion grows each: fixed
// numbers, so that a change of the rule shows.
struct Growth {
    int nSlot;
    int growsAt;
    int next;
};
constexpr Growth kGrowth[] = {{31, 24, 119}, {119, 90, 471}, {471, 354, 1879}, {1879, 1410, 7511}};

struct RefSlot {
    State state = State::Empty;
    std::string key;
    std::string value;
};

// Slots, counts and sizes of a table or a set, changed only by the probe
// and growth rules written out the simple way.
struct Model {
    int nSlot = 31;
    int cbSpace = 512;
    int cbFree = 512;
    int count = 0;
    std::vector<RefSlot> slots = std::vector<RefSlot>(31);

    // The live slot of key (found), else the first keyless slot of the
    // walk, or -1.
    std::pair<int, bool> Probe(const std::string &key) const
    {
        const int home = VELKCRadixHashCode(key.c_str(), static_cast<unsigned>(nSlot));
        if (slots[home].state == State::Empty || (slots[home].state == State::Live && slots[home].key == key)) {
            return {home, slots[home].state == State::Live};
        }
        int free = -1;
        for (int i = (home + 1) % nSlot; i != home; i = (i + 1) % nSlot) {
            if (slots[i].state == State::Live && slots[i].key == key) {
                return {i, true};
            }
            if (slots[i].state != State::Live && free < 0) {
                free = i;
            }
            if (slots[i].state == State::Empty) {
                break;
            }
        }
        return {free, false};
    }

    int Find(const std::string &key) const
    {
        const auto [idx, found] = Probe(key);
        return found ? idx : -1;
    }

    bool pairs = true; // a table's entries have values, a set's do not

    int Bytes(const RefSlot &s) const { return static_cast<int>(s.key.size() + 1 + (pairs ? s.value.size() + 1 : 0)); }

    // Copies the live entries into fresh slots, in slot order.
    void Rebuild(int nSlotNew, int cbSpaceNew)
    {
        const std::vector<RefSlot> old = slots;
        slots.assign(nSlotNew, RefSlot{});
        nSlot = nSlotNew;
        cbSpace = cbFree = cbSpaceNew;
        for (const RefSlot &s : old) {
            if (s.state == State::Live) {
                slots[Probe(s.key).first] = s;
                cbFree -= Bytes(s);
            }
        }
    }

    // The growth point of the present slot count.
    const Growth &Stage() const
    {
        const Growth *stage = std::ranges::find(kGrowth, nSlot, &Growth::nSlot);
        EXPECT_NE(stage, std::end(kGrowth)) << nSlot << " slots";
        return stage != std::end(kGrowth) ? *stage : kGrowth[0];
    }
    bool SlotsShort() const { return count >= Stage().growsAt; }

    // The table's check-space rule.
    void TableReserve(int cbNeed)
    {
        const bool slotsShort = SlotsShort();
        const bool spaceShort = cbFree <= cbNeed;
        if (!slotsShort && !spaceShort) {
            return;
        }
        const int avg = count == 0 ? cbNeed : static_cast<int>(static_cast<float>(cbSpace) / static_cast<float>(count));
        Rebuild(slotsShort ? Stage().next : nSlot, spaceShort ? cbSpace + avg * (nSlot - count) + cbNeed : cbSpace);
    }

    int TableSet(const std::string &key, const std::string &value)
    {
        if (const auto [idx, found] = Probe(key); found) {
            if (value.size() > slots[idx].value.size()) {
                TableReserve(static_cast<int>(value.size() + 1));
                cbFree -= static_cast<int>(value.size() + 1);
            }
            slots[Find(key)].value = value;
            return Find(key);
        }
        const int cbNeed = static_cast<int>(key.size() + value.size() + 2);
        TableReserve(cbNeed);
        const int idx = Probe(key).first;
        slots[idx] = RefSlot{State::Live, key, value};
        ++count;
        cbFree -= cbNeed;
        return idx;
    }

    void SetAdd(const std::string &item)
    {
        const int cb = static_cast<int>(item.size() + 1);
        if (SlotsShort() || cbFree <= cb) {
            const int n = SlotsShort() ? Stage().next : nSlot;
            const int used = cbSpace - cbFree;
            const int avg = count == 0 ? cb : static_cast<int>(static_cast<float>(used) / static_cast<float>(count));
            Rebuild(n, std::max({cb + avg * n, cbSpace, used + cb}));
        }
        if (const auto [idx, found] = Probe(item); !found) {
            slots[idx] = RefSlot{State::Live, item, ""};
            ++count;
            cbFree -= cb;
        }
    }

    void Remove(const std::string &key)
    {
        const int idx = Find(key);
        if (idx >= 0) {
            slots[idx].state = State::Tomb;
            --count;
        }
    }
};

template <typename Block>
void ExpectSameSlots(const Model &m, const Block *p)
{
    ASSERT_EQ(p->nSlot, m.nSlot);
    ASSERT_EQ(p->cbSpace, m.cbSpace);
    ASSERT_EQ(p->cbFree, m.cbFree);
    for (int i = 0; i < m.nSlot; ++i) {
        const RefSlot &s = m.slots[i];
        const auto &slot = p->rgSlot[i];
        if (s.state == State::Live) {
            ASSERT_NE(slot.pszKey, nullptr) << "slot " << i;
            ASSERT_EQ(slot.pszKey, s.key) << "slot " << i;
            if constexpr (requires { slot.pszVal; }) {
                ASSERT_EQ(slot.pszVal, s.value) << "slot " << i;
            }
        } else {
            ASSERT_EQ(slot.pszKey, nullptr) << "slot " << i;
            if constexpr (requires { slot.fUsed; }) {
                ASSERT_EQ(slot.fUsed != 0, s.state == State::Tomb) << "slot " << i;
            } else {
                ASSERT_EQ(slot.pszVal != nullptr, s.state == State::Tomb) << "slot " << i;
            }
        }
    }
}

// Keys that share a pattern, as configuration keys do, or random short
// texts (the empty one included).
struct KeySource {
    std::mt19937 rng;
    bool patterned;
    int pool;
    std::string operator()()
    {
        const int i = std::uniform_int_distribution<int>(0, pool - 1)(rng);
        if (patterned) {
            char sz[32];
            std::snprintf(sz, sizeof sz, "cfg.key%07d", i);
            return sz;
        }
        std::mt19937 keyRng(static_cast<unsigned>(i));
        std::string key(static_cast<size_t>(i % 9), ' ');
        for (char &c : key) {
            c = static_cast<char>('a' + keyRng() % 4);
        }
        return key + std::to_string(i % 7);
    }
};

// A key pool, the seed of the run, and the slot count the block has grown
// to at its end.
struct ModelParam {
    bool patterned;
    int pool;
    unsigned seed;
    int slots;
};

enum class Op { Write, Remove, Query, Clear };

// Runs random operations, mostly writes and removals, on a block and its
// model: step(op, key) applies one to both and checks the answers; the
// slots, counts and sizes are compared as it goes.
template <typename Block, typename Step>
void RunModel(const ModelParam &param, const Model &m, Block *const &p, Step step)
{
    KeySource next{std::mt19937(param.seed), param.patterned, param.pool};
    std::mt19937 rng(param.seed + 1);
    for (int i = 0; i < 6000; ++i) {
        const int dice = static_cast<int>(rng() % 1000);
        const Op op = dice < 550 ? Op::Write : dice < 900 ? Op::Remove : dice < 998 ? Op::Query : Op::Clear;
        SCOPED_TRACE("operation " + std::to_string(i));
        step(op, next());
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
        if (i % 97 == 0) {
            ExpectSameSlots(m, p);
        }
    }
    ExpectSameSlots(m, p);
    EXPECT_EQ(p->nSlot, param.slots);
}

// Empties the model: the table keeps every used slot as a tombstone, the
// set clears them all.
void ClearModel(Model &m, bool keepTombstones)
{
    for (RefSlot &s : m.slots) {
        s.state = !keepTombstones ? State::Empty : s.state == State::Live ? State::Tomb : s.state;
    }
    m.count = 0;
    m.cbFree = m.cbSpace;
}

// The keys list(ppList) gives, into a list holding one item already, are
// the live keys of the model; list answers whether it succeeded.
template <typename List>
void ExpectListed(const Model &m, List list)
{
    velkc::List listed(VELKCSzListAlloc(512));
    VELKCSzListPush(listed.address(), "before");
    ASSERT_TRUE(list(listed.address()));
    std::multiset<std::string> want{"before"};
    for (const RefSlot &s : m.slots) {
        if (s.state == State::Live) {
            want.insert(s.key);
        }
    }
    EXPECT_EQ(std::multiset<std::string>(listed->pszItem, listed->pszItem + listed->nItem), want);
}

class HashModel : public ::testing::TestWithParam<ModelParam> {};

TEST_P(HashModel, TableMatchesTheProbeModel)
{
    Model m;
    SzHash *p = VELKCSzHashAlloc(512);
    std::mt19937 rng(GetParam().seed + 2);
    RunModel(GetParam(), m, p, [&](Op op, const std::string &key) {
        switch (op) {
        case Op::Write: {
            const std::string value(rng() % 12, 'v');
            ASSERT_EQ(VELKCSzHashSetValue(&p, key.c_str(), value.c_str()), m.TableSet(key, value));
            break;
        }
        case Op::Remove:
            ASSERT_EQ(VELKCSzHashRemoveKey(p, key.c_str()) != nullptr, m.Find(key) >= 0);
            m.Remove(key);
            break;
        case Op::Query: {
            const int idx = m.Find(key);
            ASSERT_EQ(VELKCGetLookDict(p, key.c_str()), idx);
            ASSERT_EQ(VELKCSetLookDict(p, key.c_str()), m.Probe(key).first);
            const char *value = VELKCSzHashGetValue(p, key.c_str());
            ASSERT_EQ(value != nullptr, idx >= 0);
            ASSERT_TRUE(idx < 0 || value == m.slots[idx].value);
            break;
        }
        case Op::Clear:
            VELKCHashRemoveAll(p);
            ClearModel(m, true);
            break;
        }
        ASSERT_EQ(VELKCSzHashPairNum(p), m.count);
        ASSERT_EQ(VELKCISzHashIndexCheck(p), 1) << "the slot index does not say what the slots say";
    });
    ExpectListed(m, [&](SzList **ppList) { return VELKCSzHashEnumKey(p, ppList) == m.count; });
    VELKCSzHashFree(p);
}

TEST_P(HashModel, SetMatchesTheProbeModel)
{
    Model m;
    m.pairs = false;
    SzHashSet *p = VELKCSzHashSetAlloc(512);
    RunModel(GetParam(), m, p, [&](Op op, const std::string &item) {
        switch (op) {
        case Op::Write:
            ASSERT_EQ(VELKCSzHashSetAdd(&p, item.c_str()), 0);
            m.SetAdd(item);
            break;
        case Op::Remove:
            ASSERT_EQ(VELKCSzHashSetRemove(p, item.c_str()), 0);
            m.Remove(item);
            break;
        case Op::Query:
            ASSERT_EQ(VELKCSzHashSetContains(p, item.c_str()), m.Find(item) >= 0 ? 1 : 0);
            ASSERT_EQ(VELKCSzHashSetLookDict(p, item.c_str()), m.Probe(item).first);
            break;
        case Op::Clear:
            VELKCSzHashSetRemoveAll(p);
            ClearModel(m, false);
            break;
        }
        ASSERT_EQ(VELKCSzHashSetItemNum(p), m.count);
        ASSERT_EQ(VELKCISzHashSetIndexCheck(p), 1) << "the slot index does not say what the slots say";
    });
    ExpectListed(m, [&](SzList **ppList) { return VELKCSzHashSetToList(p, ppList) == 0; });
    VELKCSzHashSetFree(p);
}

// Small pools grow once and churn through tombstones; large ones grow to
// 1879 slots.
INSTANTIATE_TEST_SUITE_P(Keys, HashModel,
                         ::testing::Values(ModelParam{true, 40, 1, 119}, ModelParam{true, 3000, 2, 1879},
                                           ModelParam{false, 60, 3, 119}, ModelParam{false, 3000, 4, 1879}));

// A pair written through VELKCInsertPair into a slot of the caller's
// choosing is found (or not) exactly as the probe walk finds it.
TEST(HashModelWalk, PairsPlacedByTheCallerFollowTheWalk)
{
    SzHash *p = VELKCSzHashAlloc(512);
    ASSERT_EQ(VELKCRadixHashCode("a", 31), 4);
    VELKCInsertPair(p, "a", "far", 10); // slots 4..9 are empty: out of the walk's reach
    EXPECT_EQ(VELKCGetLookDict(p, "a"), -1);
    EXPECT_EQ(VELKCSzHashGetValue(p, "a"), nullptr);
    EXPECT_EQ(VELKCSetLookDict(p, "a"), 4);
    ASSERT_EQ(VELKCSzHashSetValue(&p, "a", "home"), 4);
    EXPECT_STREQ(VELKCSzHashGetValue(p, "a"), "home");
    EXPECT_STREQ(VELKCSzHashRemoveKey(p, "a"), "home");
    EXPECT_EQ(VELKCGetLookDict(p, "a"), -1); // home is a tombstone, then 5..9 are empty
    VELKCHashRemoveAll(p);
    EXPECT_EQ(VELKCSzHashSetValue(&p, "a", "again"), 5); // tombstone at home is skipped
    VELKCSzHashFree(p);
}

} // namespace
