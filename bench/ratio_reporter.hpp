// Console reporter that also prints, after the run, the time of each
// library benchmark divided by the time of its peer (CPU time: the machine
// may be shared) as "RATIO <name> <value> -" lines (see README.md). A pair
// is named "<area>/lib/<case>" and "<area>/peer/<case>". Where a physical
// limit "<area>/limit/<case>" is measured too, the ratio to it follows as
// "RATIO <name>@limit <value> -".
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
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
                    std::printf("RATIO %s%s %.2f -\n", name.c_str(), pszSuffix, time / it->second);
                }
            }
        }
    }

private:
    std::map<std::string, double> times_;
};

// Runs the registered benchmarks and prints the ratio table.
#define RATIO_BENCHMARK_MAIN()                        \
    int main(int argc, char **argv)                   \
    {                                                 \
        benchmark::Initialize(&argc, argv);           \
        RatioReporter reporter;                       \
        benchmark::RunSpecifiedBenchmarks(&reporter); \
        benchmark::Shutdown();                        \
        return 0;                                     \
    }
