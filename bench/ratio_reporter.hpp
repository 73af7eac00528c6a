// Console reporter that also prints, after the run, the time of each
// library benchmark divided by the time of its peer (CPU time: the machine
// may be shared) as "RATIO <name> <value> -" lines (see CMakeLists.txt). A
// pair is named "<area>/lib/<case>" and "<area>/peer/<case>".
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

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
            std::string peer = name;
            peer.replace(at, 5, "/peer/");
            if (const auto it = times_.find(peer); it != times_.end() && it->second > 0) {
                std::printf("RATIO %s %.2f -\n", name.c_str(), time / it->second);
            }
        }
    }

private:
    std::map<std::string, double> times_;
};

// Runs the registered benchmarks and prints the ratio table.
#define RATIO_BENCHMARK_MAIN()                                     \
    int main(int argc, char **argv)                                \
    {                                                              \
        benchmark::Initialize(&argc, argv);                        \
        RatioReporter reporter;                                    \
        benchmark::RunSpecifiedBenchmarks(&reporter);              \
        benchmark::Shutdown();                                     \
        return 0;                                                  \
    }
