// Starting a program and waiting for it: VELKCExecl against posix_spawn,
// from a small parent and from one with 1 GiB of touched heap (the page
// tables a fork would have to copy). Each run times both side by side and
// reports the ratio.
#include <velkc.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace {

constexpr const char *kProgram = "/bin/true";

int SpawnAndWait()
{
    char *const argv[] = {const_cast<char *>(kProgram), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, kProgram, nullptr, nullptr, argv, environ) != 0) {
        return -1;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template <typename F>
double Seconds(F &&f)
{
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(f());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Execl's time over posix_spawn's, by MiB of heap.
std::map<long, double> gRatios;

// Arg: MiB of heap to allocate and touch before timing.
void BM_ExeclVsPosixSpawn(benchmark::State &state)
{
    const auto cb = static_cast<size_t>(state.range(0)) << 20;
    const std::unique_ptr<char[]> heap(cb != 0 ? new char[cb] : nullptr);
    if (heap) {
        std::memset(heap.get(), 1, cb);
    }
    double execl = 0;
    double spawn = 0;
    for (auto _ : state) {
        const double t = Seconds([] { return VELKCExecl(kProgram, 0, nullptr); });
        spawn += Seconds(SpawnAndWait);
        execl += t;
        state.SetIterationTime(t);
    }
    benchmark::DoNotOptimize(heap.get());
    const auto n = static_cast<double>(state.iterations());
    state.counters["execl_us"] = execl / n * 1e6;
    state.counters["spawn_us"] = spawn / n * 1e6;
    state.counters["ratio"] = execl / spawn;
    gRatios[state.range(0)] = execl / spawn; // the last, longest run counts
}
BENCHMARK(BM_ExeclVsPosixSpawn)->ArgName("heap_MiB")->Arg(0)->Arg(1024)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const auto &[mib, ratio] : gRatios) {
        std::printf("RATIO execl_vs_posix_spawn_heap_%ldMiB %.2f %.2f\n", mib, ratio, mib == 0 ? 1.3 : 1.5);
    }
    return 0;
}
