// Throughput of the containers: hash table set and get, hash set add and
// contains, list push and find.
#include <velkc.h>

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Keys(int n)
{
    std::vector<std::string> keys;
    keys.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        keys.push_back("section.key-" + std::to_string(i * 7919));
    }
    return keys;
}

// Filling a new table, growth included.
void BM_HashSetValue(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SzHash *pHash = VELKCSzHashAlloc(512);
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzHashSetValue(&pHash, key.c_str(), "a value of some length"));
        }
        VELKCSzHashFree(pHash);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_HashSetValue)->Arg(100)->Arg(10000);

void BM_HashGetValue(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    SzHash *pHash = VELKCSzHashAlloc(512);
    for (const auto &key : keys) {
        VELKCSzHashSetValue(&pHash, key.c_str(), "value");
    }
    for (auto _ : state) {
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzHashGetValue(pHash, key.c_str()));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    VELKCSzHashFree(pHash);
}
BENCHMARK(BM_HashGetValue)->Arg(100)->Arg(10000);

void BM_HashSetAdd(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SzHashSet *pSet = VELKCSzHashSetAlloc(512);
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzHashSetAdd(&pSet, key.c_str()));
        }
        VELKCSzHashSetFree(pSet);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_HashSetAdd)->Arg(100)->Arg(10000);

void BM_HashSetContains(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    SzHashSet *pSet = VELKCSzHashSetAlloc(512);
    for (const auto &key : keys) {
        VELKCSzHashSetAdd(&pSet, key.c_str());
    }
    for (auto _ : state) {
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzHashSetContains(pSet, key.c_str()));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    VELKCSzHashSetFree(pSet);
}
BENCHMARK(BM_HashSetContains)->Arg(100)->Arg(10000);

void BM_ListPush(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SzList *pList = VELKCSzListAlloc(512);
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzListPush(&pList, key.c_str()));
        }
        VELKCSzListFree(pList);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListPush)->Arg(100)->Arg(10000);

// Unsorted lists scan; sorted ones search by halving.
void BM_ListFind(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    SzList *pList = VELKCSzListAlloc(512);
    for (const auto &key : keys) {
        VELKCSzListPush(&pList, key.c_str());
    }
    VELKCSzListSortItems(pList, static_cast<int>(state.range(1)));
    for (auto _ : state) {
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzListFind(pList, key.c_str()));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    VELKCSzListFree(pList);
}
BENCHMARK(BM_ListFind)->Args({100, OP_UNSORTED})->Args({1000, OP_UNSORTED})->Args({10000, OP_SORTED});

} // namespace
