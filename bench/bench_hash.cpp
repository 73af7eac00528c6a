// SzHash and SzHashSet side by side with std::unordered_map/unordered_set:
// fill, hit, miss and remove at 100,000 keys (patterned like configuration
// keys, and random), churn (remove the oldest, insert a new key) at 1,000
// keys, and the memory of 100,000 pairs. Prints each time per operation
// and the ratio library / std.
#include <velkc.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <functional>
#include <malloc.h>
#include <random>
#include <string>
#include <time.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

using Keys = std::vector<std::string>;

Keys Patterned(int first, int n)
{
    Keys keys;
    char sz[32];
    for (int i = first; i < first + n; ++i) {
        std::snprintf(sz, sizeof sz, "cfg.key%07d", i);
        keys.emplace_back(sz);
    }
    return keys;
}

Keys Random(unsigned seed, int n)
{
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> ch('a', 'z');
    Keys keys(static_cast<size_t>(n), std::string(14, ' '));
    for (auto &key : keys) {
        std::generate(key.begin(), key.end(), [&] { return static_cast<char>(ch(rng)); });
    }
    return keys;
}

constexpr const char *kValue = "value-of-a-key";

// CPU time of the calling thread: the machine may be shared, and time
// spent descheduled is no cost of the code under test.
double ThreadNs()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

struct Side {
    std::function<void()> setup; // untimed, before each run
    std::function<void()> work;
};

struct Pair {
    double lib;
    double peer;
};

// Best of seven runs of each side, in nanoseconds per operation; the two
// sides take turns so that both see the same machine.
Pair NsPerOp(size_t nOps, const Side &lib, const Side &peer)
{
    Pair best{1e300, 1e300};
    const auto time = [nOps](const Side &side, double &min) {
        side.setup();
        const double t0 = ThreadNs();
        side.work();
        min = std::min(min, (ThreadNs() - t0) / static_cast<double>(nOps));
    };
    for (int rep = 0; rep < 7; ++rep) {
        time(lib, best.lib);
        time(peer, best.peer);
    }
    return best;
}

// The RATIO line that scripts/bench collects: the row's text without blanks.
void RatioLine(std::string what, double ratio)
{
    std::replace(what.begin(), what.end(), ' ', '_');
    std::replace(what.begin(), what.end(), ',', '_');
    std::printf("RATIO %s %.2f -\n", what.c_str(), ratio);
}

void Row(const std::string &what, Pair t)
{
    std::printf("%-44s %10.1f %10.1f %8.2fx\n", what.c_str(), t.lib, t.peer, t.lib / t.peer);
    RatioLine(what, t.lib / t.peer);
}

struct Data {
    const char *name;
    Keys keys;
    Keys misses;
};

// A run that applies fn to every key of keys.
template <typename Fn>
std::function<void()> Each(const Keys &keys, Fn fn)
{
    return [&keys, fn] {
        for (const auto &k : keys) {
            fn(k);
        }
    };
}

void TableRows(const Data &d)
{
    const size_t n = d.keys.size();
    SzHash *pHash = nullptr;
    std::unordered_map<std::string, std::string> map;
    const auto fillLib = Each(d.keys, [&](const std::string &k) { VELKCSzHashSetValue(&pHash, k.c_str(), kValue); });
    const auto fillStd = Each(d.keys, [&](const std::string &k) { map.emplace(k, kValue); });
    const auto newLib = [&] {
        VELKCSzHashFree(pHash);
        pHash = VELKCSzHashAlloc(512);
    };
    const auto newStd = [&] { map = {}; };
    const auto filledLib = [&] {
        newLib();
        fillLib();
    };
    const auto filledStd = [&] {
        newStd();
        fillStd();
    };
    const auto nothing = [] {};
    const auto getLib = [&](const std::string &k) { benchmark::DoNotOptimize(VELKCSzHashGetValue(pHash, k.c_str())); };
    const auto getStd = [&](const std::string &k) { benchmark::DoNotOptimize(map.find(k)); };
    const std::string name = d.name;
    Row("SzHash fill, " + name, NsPerOp(n, {newLib, fillLib}, {newStd, fillStd}));
    filledLib();
    filledStd();
    Row("SzHash hit, " + name, NsPerOp(n, {nothing, Each(d.keys, getLib)}, {nothing, Each(d.keys, getStd)}));
    Row("SzHash miss, " + name, NsPerOp(n, {nothing, Each(d.misses, getLib)}, {nothing, Each(d.misses, getStd)}));
    Row("SzHash remove, " + name,
        NsPerOp(n, {filledLib, Each(d.keys, [&](const std::string &k) { VELKCSzHashRemoveKey(pHash, k.c_str()); })},
                {filledStd, Each(d.keys, [&](const std::string &k) { map.erase(k); })}));
    VELKCSzHashFree(pHash);
}

void SetRows(const Data &d)
{
    const size_t n = d.keys.size();
    SzHashSet *pSet = nullptr;
    std::unordered_set<std::string> set;
    const auto newLib = [&] {
        VELKCSzHashSetFree(pSet);
        pSet = VELKCSzHashSetAlloc(512);
    };
    const auto newStd = [&] { set = {}; };
    const auto nothing = [] {};
    const auto hasLib = [&](const std::string &k) {
        benchmark::DoNotOptimize(VELKCSzHashSetContains(pSet, k.c_str()));
    };
    const auto hasStd = [&](const std::string &k) { benchmark::DoNotOptimize(set.count(k)); };
    const std::string name = d.name;
    Row("SzHashSet add, " + name,
        NsPerOp(n, {newLib, Each(d.keys, [&](const std::string &k) { VELKCSzHashSetAdd(&pSet, k.c_str()); })},
                {newStd, Each(d.keys, [&](const std::string &k) { set.insert(k); })}));
    Row("SzHashSet contains hit, " + name,
        NsPerOp(n, {nothing, Each(d.keys, hasLib)}, {nothing, Each(d.keys, hasStd)}));
    Row("SzHashSet contains miss, " + name,
        NsPerOp(n, {nothing, Each(d.misses, hasLib)}, {nothing, Each(d.misses, hasStd)}));
    VELKCSzHashSetFree(pSet);
}

// A table of `live` keys that keeps removing its oldest key and inserting
// a new one, through all of `keys`.
void ChurnRow(const char *what, const Keys &keys, size_t live)
{
    SzHash *pHash = nullptr;
    std::unordered_map<std::string, std::string> map;
    const Side lib{[&] {
                       VELKCSzHashFree(pHash);
                       pHash = VELKCSzHashAlloc(512);
                       for (size_t i = 0; i < live; ++i) {
                           VELKCSzHashSetValue(&pHash, keys[i].c_str(), kValue);
                       }
                   },
                   [&] {
                       for (size_t i = live; i < keys.size(); ++i) {
                           VELKCSzHashRemoveKey(pHash, keys[i - live].c_str());
                           VELKCSzHashSetValue(&pHash, keys[i].c_str(), kValue);
                       }
                   }};
    const Side peer{[&] {
                        map = {};
                        for (size_t i = 0; i < live; ++i) {
                            map.emplace(keys[i], kValue);
                        }
                    },
                    [&] {
                        for (size_t i = live; i < keys.size(); ++i) {
                            map.erase(keys[i - live]);
                            map.emplace(keys[i], kValue);
                        }
                    }};
    Row(what, NsPerOp(keys.size() - live, lib, peer));
    VELKCSzHashFree(pHash);
}

// Heap bytes in use, mmapped chunks included.
size_t HeapBytes()
{
    const struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

void MemoryRow(const Keys &keys)
{
    const size_t base = HeapBytes();
    SzHash *pHash = VELKCSzHashAlloc(512);
    for (const auto &k : keys) {
        VELKCSzHashSetValue(&pHash, k.c_str(), kValue);
    }
    const size_t lib = HeapBytes() - base;
    VELKCSzHashFree(pHash);
    const size_t base2 = HeapBytes();
    size_t peer = 0;
    {
        std::unordered_map<std::string, std::string> map;
        for (const auto &k : keys) {
            map.emplace(k, kValue);
        }
        peer = HeapBytes() - base2;
    }
    const double ratio = static_cast<double>(lib) / static_cast<double>(peer);
    std::printf("%-44s %9.2fM %9.2fM %8.2fx\n", "SzHash memory, 100k patterned pairs", lib / 1e6, peer / 1e6, ratio);
    RatioLine("SzHash memory, 100k patterned pairs", ratio);
}

} // namespace

int main()
{
    constexpr int kN = 100000;
    const Data patterned{"100k patterned", Patterned(0, kN), Patterned(kN, kN)};
    const Data random{"100k random", Random(1, kN), Random(2, kN)};
    std::printf("%-44s %10s %10s %9s\n", "operation", "lib ns/op", "std ns/op", "lib/std");
    for (const Data *d : {&patterned, &random}) {
        TableRows(*d);
        SetRows(*d);
    }
    ChurnRow("SzHash churn, 1k patterned", Patterned(0, 200000), 1000);
    ChurnRow("SzHash churn, 1k random", Random(3, 200000), 1000);
    MemoryRow(patterned.keys);
    return 0;
}
