// Console reporter that also prints, after the run, the time of each
// library benchmark divided by the time of its peer (CPU time: the machine
// may be shared) as "RATIO <name> <value> <target>" lines (see README.md).
// A pair is named "<area>/lib/<case>" and "<area>/peer/<case>". Where a
// physical limit "<area>/limit/<case>" is measured too, the ratio to it
// follows as "RATIO <name>@limit <value> <target>". The targets come from
// the map given to RATIO_BENCHMARK_MAIN, by ratio name; "-" for the others.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

using RatioTargets = std::map<std::string, double>;

class RatioReporter : public benchmark::ConsoleReporter {
public:
    explicit RatioReporter(RatioTargets targets = {}) : targets_(std::move(targets)) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the fastest run counts: the one a loaded machine
        // disturbed least.
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration) {
                continue;
            }
            const auto [it, added] = times_.emplace(run.benchmark_name(), run.GetAdjustedCPUTime());
            if (!added && run.GetAdjustedCPUTime() < it->second) {
                it->second = run.GetAdjustedCPUTime();
            }
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const auto &[name, time] : times_) {
            const auto at = name.find("/lib/");
            if (at == std::string::npos) {
                continue;
            }
            // The peer's ratio carries the run's own name, the limit's a suffix.
            constexpr std::pair<const char *, const char *> kOthers[] = {{"/peer/", ""}, {"/limit/", "@limit"}};
            for (const auto &[pszPart, pszSuffix] : kOthers) {
                std::string other = name;
                other.replace(at, 5, pszPart);
                if (const auto it = times_.find(other); it != times_.end() && it->second > 0) {
                    const std::string ratio = name + pszSuffix;
                    std::printf("RATIO %s %.2f ", ratio.c_str(), time / it->second);
                    if (const auto target = targets_.find(ratio); target != targets_.end()) {
                        std::printf("%.2f\n", target->second);
                    } else {
                        std::printf("-\n");
                    }
                }
            }
        }
    }

private:
    RatioTargets targets_;
    std::map<std::string, double> times_;
};

// Runs the registered benchmarks and prints the ratio table; the argument,
// if any, is the RatioTargets.
#define RATIO_BENCHMARK_MAIN(...)                     \
    int main(int argc, char **argv)                   \
    {                                                 \
        benchmark::Initialize(&argc, argv);           \
        RatioReporter reporter{__VA_ARGS__};          \
        benchmark::RunSpecifiedBenchmarks(&reporter); \
        benchmark::Shutdown();                        \
        return 0;                                     \
    }
