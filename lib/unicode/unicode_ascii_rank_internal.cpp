// The caseless order of all-ASCII strings through a rank table built once
// from the collator.
//
// When every ASCII character maps to exactly one collation element, with a
// primary weight of its own or with no weight at any level (the control
// characters), the collator orders upper-cased ASCII strings by comparing
// the sequences of primary weights with the ignorable characters dropped:
// the first differing primary decides, and equal sequences mean the strings
// differ only in ignorables and case, which no level sees. The table holds
// those primaries as ranks. The build checks each premise against the
// collator and leaves the table unusable if one fails.
#include "unicode_internal.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string_view>
#include <unicode/uset.h>
#include <unicode/ustring.h>

namespace {

// Rank of each byte's upper-cased form; 0 for a fully ignorable character.
using Ranks = std::array<unsigned char, 128>;

enum class State { kUnbuilt, kBuilding, kReady, kUnusable };

// Built once, by the first thread to need it; the others take the full path
// meanwhile rather than wait (a fork during the build leaves it unbuilt in
// the child, which then keeps using the full path).
std::atomic<State> gState{State::kUnbuilt};
Ranks gRanks{};
const UCollator *gRanksColl = nullptr;

struct USetCloser {
    void operator()(USet *p) const noexcept { uset_close(p); }
};
using UniqueUSet = std::unique_ptr<USet, USetCloser>;

// True if the collator contracts a run of ASCII characters or expands an
// ASCII character into several elements. Caller holds the ICU lock.
bool HasAsciiContext(const UCollator *pColl)
{
    const UniqueUSet contractions(uset_openEmpty());
    const UniqueUSet expansions(uset_openEmpty());
    UErrorCode status = U_ZERO_ERROR;
    ucol_getContractionsAndExpansions(pColl, contractions.get(), expansions.get(), true, &status);
    if (U_FAILURE(status)) {
        return true;
    }
    for (UChar32 c = 1; c < 0x80; ++c) {
        if (uset_contains(expansions.get(), c)) {
            return true;
        }
    }
    const int32_t n = uset_getItemCount(contractions.get());
    for (int32_t i = 0; i < n; ++i) {
        UChar32 first = 0;
        UChar32 last = 0;
        std::array<UChar, 64> text{};
        status = U_ZERO_ERROR;
        const int32_t cch =
            uset_getItem(contractions.get(), i, &first, &last, text.data(), static_cast<int32_t>(text.size()), &status);
        if (cch > static_cast<int32_t>(text.size())) {
            return true;
        }
        if (cch > 0 && std::all_of(text.begin(), text.begin() + cch, [](UChar u) { return u < 0x80; })) {
            return true;
        }
    }
    return false;
}

// A sort key of up to 32 bytes, long enough for any one ASCII character.
struct SortKey {
    std::array<char, 32> bytes{};
    int32_t cb = 0;

    std::string_view All() const { return {bytes.data(), static_cast<std::size_t>(cb)}; }
    // ICU ends the primary level with a level separator (1) or the
    // terminator (0); neither occurs inside a weight.
    std::string_view Primary() const { return All().substr(0, All().find_first_of(std::string_view("\0\1", 2))); }
};

bool GetSortKey(const UCollator *pColl, const UChar *text, int32_t cch, SortKey *pKey)
{
    pKey->cb = ucol_getSortKey(pColl, text, cch, reinterpret_cast<uint8_t *>(pKey->bytes.data()),
                               static_cast<int32_t>(pKey->bytes.size()));
    return pKey->cb > 0 && pKey->cb <= static_cast<int32_t>(pKey->bytes.size());
}

// Fills ranks from the collator; false when a premise fails. Caller holds
// the ICU lock.
bool BuildRanks(const UCollator *pColl, Ranks *pRanks)
{
    UErrorCode status = U_ZERO_ERROR;
    SortKey empty;
    if (ucol_getAttribute(pColl, UCOL_NUMERIC_COLLATION, &status) != UCOL_OFF || U_FAILURE(status) ||
        HasAsciiContext(pColl) || !GetSortKey(pColl, nullptr, 0, &empty)) {
        return false;
    }
    std::array<SortKey, 128> keys;
    std::array<UChar, 128> uppers{};
    for (UChar c = 1; c < 0x80; ++c) {
        std::array<UChar, 4> upper{};
        status = U_ZERO_ERROR;
        if (u_strToUpper(upper.data(), static_cast<int32_t>(upper.size()), &c, 1, "", &status) != 1 ||
            U_FAILURE(status) || upper[0] >= 0x80 || !GetSortKey(pColl, upper.data(), 1, &keys[c])) {
            return false;
        }
        uppers[c] = upper[0];
        // Weightless at every level, or weighted at the primary level.
        const bool ignorable = keys[c].All() == empty.All();
        if (!ignorable && keys[c].Primary().empty()) {
            return false;
        }
        if (ignorable) {
            keys[c].cb = 0;
        }
    }
    // Ranks follow the primaries; two upper-case forms may share one only if
    // they are the same character.
    std::array<UChar, 128> order{};
    int n = 0;
    for (UChar c = 1; c < 0x80; ++c) {
        if (keys[c].cb != 0 && uppers[c] == c) {
            order[n++] = c;
        }
    }
    const auto primary = [&keys](UChar c) { return keys[c].Primary(); };
    std::sort(order.begin(), order.begin() + n, [&](UChar x, UChar y) { return primary(x) < primary(y); });
    Ranks ranks{};
    for (int i = 0; i < n; ++i) {
        if (i > 0 && primary(order[i]) == primary(order[i - 1])) {
            return false;
        }
        ranks[order[i]] = static_cast<unsigned char>(i + 1);
    }
    for (UChar c = 1; c < 0x80; ++c) {
        (*pRanks)[c] = ranks[uppers[c]];
    }
    return true;
}

// The table for pColl, or null while it is built elsewhere, when it was
// built for another collator, or when it cannot stand in for the collator.
const Ranks *RanksFor(const UCollator *pColl) noexcept
{
    State state = gState.load(std::memory_order_acquire);
    if (state == State::kUnbuilt && gState.compare_exchange_strong(state, State::kBuilding)) {
        Ranks ranks{};
        const bool ok = velkc::unicode::WithIcu([&] { return BuildRanks(pColl, &ranks); });
        gRanks = ranks;
        gRanksColl = pColl;
        state = ok ? State::kReady : State::kUnusable;
        gState.store(state, std::memory_order_release);
    }
    return state == State::kReady && gRanksColl == pColl ? &gRanks : nullptr;
}

} // namespace

namespace velkc::unicode {

int CompareAsciiUpper(const UCollator *pColl, std::string_view a, std::string_view b) noexcept
{
    const Ranks *pRanks = RanksFor(pColl);
    if (pRanks == nullptr) {
        return kNoDecision;
    }
    const Ranks &rank = *pRanks;
    // Equal bytes rank equally: start at the first difference.
    const auto [pa, pb] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    std::size_t ia = static_cast<std::size_t>(pa - a.begin());
    std::size_t ib = static_cast<std::size_t>(pb - b.begin());
    const auto rankAt = [&rank](std::string_view s, std::size_t i) { return rank[static_cast<unsigned char>(s[i])]; };
    for (;; ++ia, ++ib) {
        while (ia < a.size() && rankAt(a, ia) == 0) {
            ++ia;
        }
        while (ib < b.size() && rankAt(b, ib) == 0) {
            ++ib;
        }
        if (ia == a.size() || ib == b.size()) {
            return static_cast<int>(ia < a.size()) - static_cast<int>(ib < b.size());
        }
        if (const int d = rankAt(a, ia) - rankAt(b, ib); d != 0) {
            return d < 0 ? -1 : 1;
        }
    }
}

} // namespace velkc::unicode
