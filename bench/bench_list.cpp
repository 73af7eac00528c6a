// SzList Find against the standard algorithms over a vector of C strings
// with strcmp: std::find for an unsorted list, std::binary_search for a
// sorted one.
#include "ratio_reporter.hpp"

#include <velkc.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

struct ListFree {
    void operator()(SzList *p) const { VELKCSzListFree(p); }
};

// Keys in a scrambled order, spelled as configuration keys are.
std::vector<std::string> Keys(int n)
{
    std::vector<std::string> keys;
    for (int i = 0; i < n; ++i) {
        keys.push_back("cfg.key" + std::to_string((i * 7919) % n));
    }
    return keys;
}

std::unique_ptr<SzList, ListFree> MakeList(const std::vector<std::string> &keys, int mode)
{
    SzList *p = VELKCSzListAlloc(512);
    for (const auto &key : keys) {
        VELKCSzListPush(&p, key.c_str());
    }
    VELKCSzListSortItems(p, mode);
    return std::unique_ptr<SzList, ListFree>(p);
}

// Looks up every key once per iteration.
void BM_Lib(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    const auto list = MakeList(keys, static_cast<int>(state.range(1)));
    for (auto _ : state) {
        for (const auto &key : keys) {
            benchmark::DoNotOptimize(VELKCSzListFind(list.get(), key.c_str()));
        }
    }
    state.SetLabel(state.range(1) == OP_SORTED ? "sorted" : "unsorted");
}

void BM_Peer(benchmark::State &state)
{
    const auto keys = Keys(static_cast<int>(state.range(0)));
    std::vector<const char *> items;
    for (const auto &key : keys) {
        items.push_back(key.c_str());
    }
    const bool sorted = state.range(1) == OP_SORTED;
    const auto less = [](const char *a, const char *b) { return std::strcmp(a, b) < 0; };
    if (sorted) {
        std::sort(items.begin(), items.end(), less);
    }
    for (auto _ : state) {
        for (const auto &key : keys) {
            const char *psz = key.c_str();
            if (sorted) {
                benchmark::DoNotOptimize(std::binary_search(items.begin(), items.end(), psz, less));
            } else {
                benchmark::DoNotOptimize(std::find_if(items.begin(), items.end(),
                                                      [psz](const char *item) { return std::strcmp(item, psz) == 0; }));
            }
        }
    }
    state.SetLabel(sorted ? "sorted" : "unsorted");
}

// Arguments: items, sort mode.
void Cases(benchmark::internal::Benchmark *b)
{
    b->Args({100, OP_UNSORTED})->Args({1000, OP_UNSORTED})->Args({1000, OP_SORTED})->Args({100000, OP_SORTED});
}

BENCHMARK(BM_Lib)->Name("ListFind/lib")->Apply(Cases);
BENCHMARK(BM_Peer)->Name("ListFind/peer")->Apply(Cases);

} // namespace

RATIO_BENCHMARK_MAIN();
