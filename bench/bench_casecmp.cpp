// Caseless UTF-8 comparison against ICU's own collator (root locale, opened
// once, default strength) comparing the same text with ucol_strcollUTF8.
#include "ratio_reporter.hpp"
#include "unicode/unicode_utf8_check.hpp"

#include <velkc.h>

#include <string>
#include <unicode/ucol.h>

namespace {

// Text of about cb bytes: ASCII words, or words with accented and Greek
// letters between them.
std::string Text(std::size_t cb, bool mixed)
{
    const std::string word = mixed ? "Grüße άλφα " : "config key ";
    std::string s;
    while (s.size() + word.size() <= cb) {
        s += word;
    }
    s.append(cb - s.size(), 'x');
    return s;
}

// Two texts: identical, or differing in the first character.
std::pair<std::string, std::string> Operands(const benchmark::State &state)
{
    const std::string a = Text(static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
    std::string b = a;
    if (state.range(2) != 0) {
        b[0] = 'Z';
    }
    return {a, b};
}

void Label(benchmark::State &state)
{
    state.SetLabel(std::string(state.range(1) ? "mixed" : "ascii") + (state.range(2) ? " differ-early" : " equal"));
}

void BM_Lib(benchmark::State &state)
{
    const auto [a, b] = Operands(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(VELKCUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()));
    }
    Label(state);
}

void BM_Peer(benchmark::State &state)
{
    const auto [a, b] = Operands(state);
    UErrorCode status = U_ZERO_ERROR;
    UCollator *pColl = ucol_open("", &status);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ucol_strcollUTF8(pColl, a.c_str(), -1, b.c_str(), -1, &status));
    }
    ucol_close(pColl);
    Label(state);
}

// The least a compare that must reject malformed text anywhere in either
// string can do: read both strings whole and check them, with the library's
// own check.
void BM_Limit(benchmark::State &state)
{
    const auto [a, b] = Operands(state);
    for (auto _ : state) {
        const auto checkA = velkc::unicode::CheckUtf8(a.c_str());
        const auto checkB = velkc::unicode::CheckUtf8(b.c_str());
        benchmark::DoNotOptimize(checkA.valid && checkB.valid);
    }
    Label(state);
}

// Arguments: bytes, mixed (0/1), differ early (0/1).
void Cases(benchmark::internal::Benchmark *b)
{
    for (int cb : {8, 64, 1024}) {
        for (int mixed : {0, 1}) {
            for (int differ : {0, 1}) {
                b->Args({cb, mixed, differ});
            }
        }
    }
    b->ArgNames({"bytes", "mixed", "differ"});
}

BENCHMARK(BM_Lib)->Name("CaseCmp/lib")->Apply(Cases);
BENCHMARK(BM_Peer)->Name("CaseCmp/peer")->Apply(Cases);
BENCHMARK(BM_Limit)->Name("CaseCmp/limit")->Apply(Cases);

// Texts that differ early take little longer than the collator's look at
// their first characters; long ones little longer than checking them, which
// the collator does not do. Equal texts cost about what the collator's scan
// of them does.
const RatioTargets kTargets{
    {"CaseCmp/lib/bytes:8/mixed:0/differ:1", 2.0},          {"CaseCmp/lib/bytes:8/mixed:1/differ:1", 3.0},
    {"CaseCmp/lib/bytes:64/mixed:0/differ:1", 3.0},         {"CaseCmp/lib/bytes:64/mixed:1/differ:1", 3.0},
    {"CaseCmp/lib/bytes:1024/mixed:0/differ:1", 4.0},       {"CaseCmp/lib/bytes:1024/mixed:1/differ:1", 4.0},
    {"CaseCmp/lib/bytes:1024/mixed:0/differ:1@limit", 2.0}, {"CaseCmp/lib/bytes:1024/mixed:1/differ:1@limit", 2.0},
    {"CaseCmp/lib/bytes:8/mixed:0/differ:0", 1.5},          {"CaseCmp/lib/bytes:8/mixed:1/differ:0", 1.5},
    {"CaseCmp/lib/bytes:64/mixed:0/differ:0", 1.5},         {"CaseCmp/lib/bytes:64/mixed:1/differ:0", 1.5},
    {"CaseCmp/lib/bytes:1024/mixed:0/differ:0", 1.5},       {"CaseCmp/lib/bytes:1024/mixed:1/differ:0", 1.5},
};

} // namespace

RATIO_BENCHMARK_MAIN(kTargets);
