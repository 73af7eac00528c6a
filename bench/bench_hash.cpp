// SzHash and SzHashSet side by side with std::unordered_map/unordered_set
// and, where absl is installed, absl::flat_hash_map/flat_hash_set: fill,
// hit, miss, remove and churn (remove the oldest key, insert a new one) at
// 100, 1,000, 10,000 and 100,000 keys, patterned like configuration keys
// and random, and the heap bytes per pair of each container.
//
// Prints each time per operation, then one RATIO line per row: the
// library's time over absl's, with its target (2 for every operation,
// 1.5 for hits), or over std's with no target where absl is missing.
//
//   bench_hash [--benchmark_filter=REGEX] [--benchmark_repetitions=N]
//
// The filter selects rows by name (e.g. "SzHash/hit/" or "/100000$"); a
// row's time is the best of N runs of each side (7 by default), the sides
// taking turns so that all see the same machine. Other --benchmark_ options,
// meant for the Google Benchmark executables that scripts/bench runs with
// this one, are ignored.
#include <velkc.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <time.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#ifdef VELKC_BENCH_HAVE_ABSL
#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#endif

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

// Operations per timed run at least: small containers are filled, read or
// emptied many times over so that the clock's own cost does not show.
constexpr size_t kMinOps = 100000;
// Churn steps per timed run, whatever the number of live keys.
constexpr size_t kChurnSteps = 100000;

// CPU time of the calling thread: the machine may be shared, and time
// spent descheduled is no cost of the code under test.
double ThreadNs()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

// Heap bytes in use, mmapped chunks included.
size_t HeapBytes()
{
    const struct mallinfo2 mi = mallinfo2();
    return mi.uordblks + mi.hblkhd;
}

// The containers, each behind the same four calls.

class LibTable {
public:
    LibTable() : p_(VELKCSzHashAlloc(512)) {}
    ~LibTable() { VELKCSzHashFree(p_); }
    LibTable(const LibTable &) = delete;
    LibTable &operator=(const LibTable &) = delete;
    void Put(const std::string &k) { VELKCSzHashSetValue(&p_, k.c_str(), kValue); }
    bool Has(const std::string &k) const { return VELKCSzHashGetValue(p_, k.c_str()) != nullptr; }
    void Erase(const std::string &k) { VELKCSzHashRemoveKey(p_, k.c_str()); }

private:
    SzHash *p_;
};

class LibSet {
public:
    LibSet() : p_(VELKCSzHashSetAlloc(512)) {}
    ~LibSet() { VELKCSzHashSetFree(p_); }
    LibSet(const LibSet &) = delete;
    LibSet &operator=(const LibSet &) = delete;
    void Put(const std::string &k) { VELKCSzHashSetAdd(&p_, k.c_str()); }
    bool Has(const std::string &k) const { return VELKCSzHashSetContains(p_, k.c_str()) != 0; }
    void Erase(const std::string &k) { VELKCSzHashSetRemove(p_, k.c_str()); }

private:
    SzHashSet *p_;
};

template <typename Map>
struct MapOf {
    Map m;
    void Put(const std::string &k) { m.emplace(k, kValue); }
    bool Has(const std::string &k) const { return m.find(k) != m.end(); }
    void Erase(const std::string &k) { m.erase(k); }
};

template <typename Set>
struct SetOf {
    Set s;
    void Put(const std::string &k) { s.insert(k); }
    bool Has(const std::string &k) const { return s.find(k) != s.end(); }
    void Erase(const std::string &k) { s.erase(k); }
};

using StdTable = MapOf<std::unordered_map<std::string, std::string>>;
using StdSet = SetOf<std::unordered_set<std::string>>;
#ifdef VELKC_BENCH_HAVE_ABSL
using AbslTable = MapOf<absl::flat_hash_map<std::string, std::string>>;
using AbslSet = SetOf<absl::flat_hash_set<std::string>>;
#endif

// One timed run: setup, work and teardown, of which only work is timed.
struct Run {
    std::function<void()> setup;
    std::function<void()> work;
    std::function<void()> teardown;
};

double TimeRun(const Run &run)
{
    run.setup();
    const double t0 = ThreadNs();
    run.work();
    const double t = ThreadNs() - t0;
    run.teardown();
    return t;
}

enum class Op { Fill, Hit, Miss, Remove, Churn };

constexpr const char *OpName(Op op)
{
    switch (op) {
    case Op::Fill:
        return "fill";
    case Op::Hit:
        return "hit";
    case Op::Miss:
        return "miss";
    case Op::Remove:
        return "remove";
    case Op::Churn:
        return "churn";
    }
    return "?";
}

// The keys of one row: n live keys, as many absent ones, and the keys a
// churn brings in after them.
struct Data {
    const char *kind;
    Keys keys;
    Keys misses;
    Keys churn; // keys, then kChurnSteps more
};

// The runs of op for one container type C over d, and the number of
// operations each run times.
template <typename C>
struct Runs {
    std::vector<std::unique_ptr<C>> batch;

    static size_t Copies(size_t n) { return std::max<size_t>(1, (kMinOps + n - 1) / n); }

    void Fresh(size_t copies, const Keys *fillWith)
    {
        batch.clear();
        for (size_t i = 0; i < copies; ++i) {
            batch.push_back(std::make_unique<C>());
            if (fillWith != nullptr) {
                for (const auto &k : *fillWith) {
                    batch.back()->Put(k);
                }
            }
        }
    }

    Run Of(Op op, const Data &d, size_t *pOps)
    {
        const size_t n = d.keys.size();
        const size_t copies = Copies(n);
        const auto drop = [this] { batch.clear(); };
        switch (op) {
        case Op::Fill:
            *pOps = copies * n;
            return {[this, copies] { Fresh(copies, nullptr); },
                    [this, &d] {
                        for (auto &c : batch) {
                            for (const auto &k : d.keys) {
                                c->Put(k);
                            }
                        }
                    },
                    drop};
        case Op::Hit:
        case Op::Miss: {
            const Keys &probe = op == Op::Hit ? d.keys : d.misses;
            *pOps = copies * n;
            return {[this, &d] { Fresh(1, &d.keys); },
                    [this, &probe, copies] {
                        const C &c = *batch.front();
                        for (size_t r = 0; r < copies; ++r) {
                            for (const auto &k : probe) {
                                benchmark::DoNotOptimize(c.Has(k));
                            }
                        }
                    },
                    drop};
        }
        case Op::Remove:
            *pOps = copies * n;
            return {[this, &d, copies] { Fresh(copies, &d.keys); },
                    [this, &d] {
                        for (auto &c : batch) {
                            for (const auto &k : d.keys) {
                                c->Erase(k);
                            }
                        }
                    },
                    drop};
        case Op::Churn:
            *pOps = kChurnSteps;
            return {[this, &d] { Fresh(1, &d.keys); },
                    [this, &d, n] {
                        C &c = *batch.front();
                        for (size_t i = n; i < d.churn.size(); ++i) {
                            c.Erase(d.churn[i - n]);
                            c.Put(d.churn[i]);
                        }
                    },
                    drop};
        }
        return {};
    }
};

struct Options {
    std::regex filter{".*"};
    int rounds = 7;
};

// Best nanoseconds per operation of each run, the runs taking turns.
std::vector<double> BestNs(const std::vector<Run> &runs, size_t nOps, int rounds)
{
    std::vector<double> best(runs.size(), 1e300);
    for (int r = 0; r < rounds; ++r) {
        for (size_t i = 0; i < runs.size(); ++i) {
            best[i] = std::min(best[i], TimeRun(runs[i]) / static_cast<double>(nOps));
        }
    }
    return best;
}

// The RATIO line that scripts/bench collects.
void RatioLine(const std::string &name, double ratio, double target)
{
    if (target > 0) {
        std::printf("RATIO %s %.2f %.2f\n", name.c_str(), ratio, target);
    } else {
        std::printf("RATIO %s %.2f -\n", name.c_str(), ratio);
    }
}

struct Ratio {
    std::string name;
    double value;
    double target;
};

std::vector<Ratio> g_ratios; // printed together at the end

#ifndef VELKC_BENCH_HAVE_ABSL
// Without absl, the std peers stand in its column.
using AbslTable = StdTable;
using AbslSet = StdSet;
#endif

template <typename Lib, typename Std, typename Absl>
void TimeRow(const std::string &area, Op op, const Data &d, const Options &opt)
{
    const std::string name = area + "/" + OpName(op) + "/" + d.kind + "/" + std::to_string(d.keys.size());
    if (!std::regex_search(name, opt.filter)) {
        return;
    }
    Runs<Lib> lib;
    Runs<Std> stdRuns;
    Runs<Absl> absl;
    size_t nOps = 0;
    const std::vector<Run> runs{lib.Of(op, d, &nOps), stdRuns.Of(op, d, &nOps), absl.Of(op, d, &nOps)};
    const std::vector<double> ns = BestNs(runs, nOps, opt.rounds);
    std::printf("%-36s %9.1f %9.1f %9.1f %8.2fx %8.2fx\n", name.c_str(), ns[0], ns[1], ns[2], ns[0] / ns[1],
                ns[0] / ns[2]);
    std::fflush(stdout);
#ifdef VELKC_BENCH_HAVE_ABSL
    g_ratios.push_back({name + "@absl", ns[0] / ns[2], op == Op::Hit ? 1.5 : 2.0});
#else
    g_ratios.push_back({name + "@std", ns[0] / ns[2], 0});
#endif
}

// Heap bytes per pair that a container of C holding keys takes.
template <typename C>
double BytesPerPair(const Keys &keys)
{
    const size_t base = HeapBytes();
    auto c = std::make_unique<C>();
    for (const auto &k : keys) {
        c->Put(k);
    }
    const size_t used = HeapBytes() - base;
    return static_cast<double>(used) / static_cast<double>(keys.size());
}

template <typename Lib, typename Std, typename Absl>
void MemoryRow(const std::string &area, const Data &d, const Options &opt)
{
    const std::string name = area + "/memory/" + d.kind + "/" + std::to_string(d.keys.size());
    if (!std::regex_search(name, opt.filter)) {
        return;
    }
    const double lib = BytesPerPair<Lib>(d.keys);
    const double peerStd = BytesPerPair<Std>(d.keys);
    const double peer = BytesPerPair<Absl>(d.keys);
    std::printf("%-36s %8.1fB %8.1fB %8.1fB %8.2fx %8.2fx\n", name.c_str(), lib, peerStd, peer, lib / peerStd,
                lib / peer);
#ifdef VELKC_BENCH_HAVE_ABSL
    g_ratios.push_back({name + "@absl", lib / peer, 0});
#else
    g_ratios.push_back({name + "@std", lib / peer, 0});
#endif
}

void Rows(const Data &d, const Options &opt)
{
    for (const Op op : {Op::Fill, Op::Hit, Op::Miss, Op::Remove, Op::Churn}) {
        TimeRow<LibTable, StdTable, AbslTable>("SzHash", op, d, opt);
    }
    for (const Op op : {Op::Fill, Op::Hit, Op::Miss, Op::Remove, Op::Churn}) {
        TimeRow<LibSet, StdSet, AbslSet>("SzHashSet", op, d, opt);
    }
    MemoryRow<LibTable, StdTable, AbslTable>("SzHash", d, opt);
    MemoryRow<LibSet, StdSet, AbslSet>("SzHashSet", d, opt);
}

bool ParseOptions(int argc, char **argv, Options &opt)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        constexpr std::string_view kFilter = "--benchmark_filter=";
        constexpr std::string_view kRepetitions = "--benchmark_repetitions=";
        if (arg.starts_with(kFilter)) {
            opt.filter = std::regex(std::string(arg.substr(kFilter.size())));
        } else if (arg.starts_with(kRepetitions)) {
            opt.rounds = std::max(1, std::atoi(argv[i] + kRepetitions.size()));
        } else if (!arg.starts_with("--benchmark_")) {
            std::fprintf(stderr, "usage: bench_hash [--benchmark_filter=REGEX] [--benchmark_repetitions=N]\n");
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    Options opt;
    if (!ParseOptions(argc, argv, opt)) {
        return 2;
    }
#ifdef VELKC_BENCH_HAVE_ABSL
    const char *peerName = "absl";
#else
    const char *peerName = "std*";
#endif
    std::printf("%-36s %9s %9s %9s %9s %9s\n", "row (ns/op, memory: bytes/pair)", "lib", "std", peerName, "lib/std",
                (std::string("lib/") + peerName).c_str());
    for (const int n : {100, 1000, 10000, 100000}) {
        const int churn = n + static_cast<int>(kChurnSteps);
        Keys churnPatterned = Patterned(0, churn);
        Keys churnRandom = Random(1, churn);
        Data patterned{"patterned", Keys(churnPatterned.begin(), churnPatterned.begin() + n), Patterned(n, n),
                       std::move(churnPatterned)};
        Data random{"random", Keys(churnRandom.begin(), churnRandom.begin() + n), Random(2, n), std::move(churnRandom)};
        Rows(patterned, opt);
        Rows(random, opt);
    }
    for (const Ratio &r : g_ratios) {
        RatioLine(r.name, r.value, r.target);
    }
    return 0;
}
