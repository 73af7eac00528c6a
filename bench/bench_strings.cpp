// Splitting a line of 64 fields into a new list against splitting a
// std::string into a new std::vector<std::string>.
#include "ratio.hpp"

#include <velkc.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kFields = 64;
constexpr const char *kSep = ",;";

// "field00,field01;...": StrTok sees runs of separators too.
const std::string &Line(bool runs)
{
    static const auto make = [](bool doubled) {
        std::string s;
        for (int i = 0; i < kFields; ++i) {
            if (i > 0) {
                s += doubled ? ",;" : (i % 2 ? "," : ";");
            }
            s += "field" + std::to_string(i);
        }
        return s;
    };
    static const std::string single = make(false);
    static const std::string doubled = make(true);
    return runs ? doubled : single;
}

using Splitter = int (*)(const char *, const char *, SzList **);

void Split(benchmark::State &state, Splitter split, bool runs)
{
    const std::string &line = Line(runs);
    for (auto _ : state) {
        SzList *pList = VELKCSzListAlloc(512);
        if (split(line.c_str(), kSep, &pList) != kFields) {
            state.SkipWithError("wrong number of fields");
        }
        VELKCSzListFree(pList);
    }
}

// The peer: every piece between separators, empty ones kept or dropped.
void StdSplit(benchmark::State &state, bool keepEmpty, bool runs)
{
    const std::string &line = Line(runs);
    for (auto _ : state) {
        std::vector<std::string> fields;
        std::string_view rest = line;
        for (;;) {
            const std::size_t at = rest.find_first_of(kSep);
            const std::string_view field = rest.substr(0, at);
            if (keepEmpty || !field.empty()) {
                fields.emplace_back(field);
            }
            if (at == std::string_view::npos) {
                break;
            }
            rest.remove_prefix(at + 1);
        }
        if (fields.size() != kFields) {
            state.SkipWithError("wrong number of fields");
        }
        benchmark::DoNotOptimize(fields.data());
    }
}

void BM_StrSep(benchmark::State &state) { Split(state, VELKCStrSep, false); }
void BM_StdSplitKeepEmpty(benchmark::State &state) { StdSplit(state, true, false); }
void BM_StrTok(benchmark::State &state) { Split(state, VELKCStrTok, true); }
void BM_StdSplitDropEmpty(benchmark::State &state) { StdSplit(state, false, true); }

BENCHMARK(BM_StrSep);
BENCHMARK(BM_StdSplitKeepEmpty);
BENCHMARK(BM_StrTok);
BENCHMARK(BM_StdSplitDropEmpty);

} // namespace

VELKC_BENCH_MAIN({
    {"str_sep_64_fields_vs_std_string_split", "BM_StrSep", "BM_StdSplitKeepEmpty", 1.5},
    {"str_tok_64_fields_vs_std_string_split", "BM_StrTok", "BM_StdSplitDropEmpty", 1.5},
})
