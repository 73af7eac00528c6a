// Ratio lines for benchmarks that run the library and a peer side by side.
//
//   BENCHMARK(BM_Mine);  BENCHMARK(BM_Peer);
//   VELKC_BENCH_MAIN({{"mine_vs_peer", "BM_Mine", "BM_Peer", 2.0}})
//
// runs the benchmarks as benchmark_main would, then prints, for each pair
// whose two runs took place (a --benchmark_filter may skip them),
//
//   RATIO <name> <library time / peer time> <target>
//
// comparing the CPU time per iteration (system time included), which a
// loaded machine disturbs least, or the real time for pairs that wait on a
// device (realTime). With repetitions the fastest run of each counts.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace velkc::bench {

struct Ratio {
    const char *name;    // no blanks
    const char *subject; // the library's benchmark, full name as reported
    const char *peer;    // the peer's benchmark
    double target;       // highest acceptable ratio, 0 for none
    bool realTime = false;
};

// The console output, remembering the real time per iteration of each run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0) {
                continue;
            }
            const auto iterations = static_cast<double>(run.iterations);
            Keep(cpu_, run.benchmark_name(), run.cpu_accumulated_time / iterations);
            Keep(real_, run.benchmark_name(), run.real_accumulated_time / iterations);
        }
    }

    void PrintRatios(const std::vector<Ratio> &ratios) const
    {
        for (const Ratio &ratio : ratios) {
            const Times &times = ratio.realTime ? real_ : cpu_;
            const auto subject = times.find(ratio.subject);
            const auto peer = times.find(ratio.peer);
            if (subject == times.end() || peer == times.end() || peer->second <= 0) {
                continue;
            }
            std::printf("RATIO %s %.2f ", ratio.name, subject->second / peer->second);
            if (ratio.target > 0) {
                std::printf("%.2f\n", ratio.target);
            } else {
                std::printf("-\n");
            }
        }
        std::fflush(stdout);
    }

private:
    using Times = std::map<std::string, double>; // seconds per iteration

    static void Keep(Times &times, const std::string &name, double seconds)
    {
        auto [it, added] = times.emplace(name, seconds);
        if (!added && seconds < it->second) {
            it->second = seconds;
        }
    }

    Times cpu_;
    Times real_;
};

inline int RunWithRatios(int argc, char **argv, const std::vector<Ratio> &ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    reporter.PrintRatios(ratios);
    return 0;
}

} // namespace velkc::bench

#define VELKC_BENCH_MAIN(...) \
    int main(int argc, char **argv) { return velkc::bench::RunWithRatios(argc, argv, __VA_ARGS__); }
