// The caseless order of ASCII text through a rank table built once from the
// collator.
//
// When every ASCII character maps to exactly one collation element, with a
// primary weight of its own or with no weight at any level (the control
// characters), two all-ASCII upper-cased strings compare as the collator does
// the sequences of primary weights with the ignorable characters dropped:
// the first differing primary decides, and equal sequences mean the strings
// differ only in ignorables and case, which no level sees. The table holds
// those primaries as ranks.
//
// The same holds from an ASCII character on in other text when the collator
// weighs that character apart from the text before it: the elements of the
// text are then those of the part before followed by those of the rest, and
// the part two texts share weighs the same in both. It does so unless the
// character before it is one of the few that a contraction continues with
// ASCII (the preceders); no other contraction may hold an ASCII character
// but as its first, and none may need the text before an ASCII character to
// weigh it. An ASCII character followed by ASCII or by the end then weighs
// alone, unless it leads a contraction and a longer sequence follows it.
//
// The build checks each premise against the collator and leaves the table
// unusable if one fails.
#include "unicode_internal.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string_view>
#include <unicode/uchar.h>
#include <unicode/uset.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace {

// Rank of each byte's upper-cased form, 0 for a fully ignorable character;
// whether that form leads a contraction; and the characters after which a
// contraction goes on with ASCII, which no other character's upper-case form
// holds.
struct Ranks {
    std::array<unsigned char, 128> rank{};
    std::array<bool, 128> leadsContraction{};
    std::array<UChar32, 4> preceders{};
    std::size_t cPreceders = 0;

    bool IsPreceder(UChar32 c) const noexcept
    {
        return std::find(preceders.begin(), preceders.begin() + cPreceders, c) != preceders.begin() + cPreceders;
    }
};

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

// Records the ASCII characters that lead a contraction (or a prefix
// context) of the collator, and the characters that one continues with
// ASCII. False if a contraction holds ASCII after ASCII but at its start,
// if there are too many of the latter, or if one cannot be read. Caller
// holds the ICU lock.
bool ReadContractions(const UCollator *pColl, Ranks *pRanks)
{
    const UniqueUSet contractions(uset_openEmpty());
    UErrorCode status = U_ZERO_ERROR;
    ucol_getContractionsAndExpansions(pColl, contractions.get(), nullptr, true, &status);
    if (U_FAILURE(status)) {
        return false;
    }
    const int32_t n = uset_getItemCount(contractions.get());
    for (int32_t i = 0; i < n; ++i) {
        UChar32 first = 0;
        UChar32 last = 0;
        std::array<UChar, 64> text{};
        status = U_ZERO_ERROR;
        const int32_t cch =
            uset_getItem(contractions.get(), i, &first, &last, text.data(), static_cast<int32_t>(text.size()), &status);
        if (cch > static_cast<int32_t>(text.size()) || U_FAILURE(status)) {
            return false;
        }
        UChar32 before = U_SENTINEL;
        for (int32_t k = 0; k < cch;) {
            UChar32 c = 0;
            U16_NEXT(text.data(), k, cch, c);
            if (c < 0x80 && before == U_SENTINEL) {
                pRanks->leadsContraction[c] = true;
            } else if (c < 0x80 && before < 0x80) {
                return false;
            } else if (c < 0x80 && !pRanks->IsPreceder(before)) {
                if (pRanks->cPreceders == pRanks->preceders.size()) {
                    return false;
                }
                pRanks->preceders[pRanks->cPreceders++] = before;
            }
            before = c;
        }
    }
    return true;
}

// True if a preceder changes when upper-cased, or is part of another
// character's upper-case form: the text before an ASCII character would
// then not show whether the collator sees one there. Caller holds the ICU
// lock.
bool PrecedersHideInCase(const Ranks &ranks)
{
    const UniqueUSet changing(uset_openEmpty());
    UErrorCode status = U_ZERO_ERROR;
    uset_applyIntPropertyValue(changing.get(), UCHAR_CHANGES_WHEN_UPPERCASED, 1, &status);
    if (U_FAILURE(status)) {
        return true;
    }
    const int32_t cRanges = uset_getItemCount(changing.get());
    for (int32_t i = 0; i < cRanges; ++i) {
        UChar32 first = 0;
        UChar32 last = 0;
        if (uset_getItem(changing.get(), i, &first, &last, nullptr, 0, &status) != 0 || U_FAILURE(status)) {
            return true;
        }
        for (UChar32 c = first; c <= last; ++c) {
            std::array<UChar, 2> units{};
            int32_t cchUnits = 0;
            U16_APPEND_UNSAFE(units.data(), cchUnits, c);
            std::array<UChar, 8> upper{};
            const int32_t cch =
                u_strToUpper(upper.data(), static_cast<int32_t>(upper.size()), units.data(), cchUnits, "", &status);
            if (U_FAILURE(status) || cch > static_cast<int32_t>(upper.size()) || ranks.IsPreceder(c)) {
                return true;
            }
            for (int32_t k = 0; k < cch;) {
                UChar32 u = 0;
                U16_NEXT(upper.data(), k, cch, u);
                if (ranks.IsPreceder(u)) {
                    return true;
                }
            }
        }
    }
    return false;
}

// True if the collator expands an ASCII character into several elements,
// or needs the text before one to weigh it. Caller holds the ICU lock.
bool HasAsciiContext(const UCollator *pColl)
{
    const UniqueUSet expansions(uset_openEmpty());
    const UniqueUSet unsafe(uset_openEmpty());
    UErrorCode status = U_ZERO_ERROR;
    ucol_getContractionsAndExpansions(pColl, nullptr, expansions.get(), true, &status);
    ucol_getUnsafeSet(pColl, unsafe.get(), &status);
    if (U_FAILURE(status)) {
        return true;
    }
    for (UChar32 c = 1; c < 0x80; ++c) {
        if (uset_contains(expansions.get(), c) || uset_contains(unsafe.get(), c)) {
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
    Ranks read;
    if (ucol_getAttribute(pColl, UCOL_NUMERIC_COLLATION, &status) != UCOL_OFF || U_FAILURE(status) ||
        HasAsciiContext(pColl) || !ReadContractions(pColl, &read) || PrecedersHideInCase(read) ||
        !GetSortKey(pColl, nullptr, 0, &empty)) {
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
    std::array<unsigned char, 128> ranks{};
    for (int i = 0; i < n; ++i) {
        if (i > 0 && primary(order[i]) == primary(order[i - 1])) {
            return false;
        }
        ranks[order[i]] = static_cast<unsigned char>(i + 1);
    }
    *pRanks = read;
    for (UChar c = 1; c < 0x80; ++c) {
        pRanks->rank[c] = ranks[uppers[c]];
        pRanks->leadsContraction[c] = read.leadsContraction[uppers[c]];
    }
    return true;
}

// The table for pColl, or null while it is built elsewhere, when it was
// built for another collator, or when it cannot stand in for the collator.
const Ranks *RanksFor(const UCollator *pColl) noexcept
{
    State state = gState.load(std::memory_order_acquire);
    if (state == State::kUnbuilt && gState.compare_exchange_strong(state, State::kBuilding)) {
        Ranks ranks;
        const bool ok = velkc::unicode::WithIcu([&] { return BuildRanks(pColl, &ranks); });
        gRanks = ranks;
        gRanksColl = pColl;
        state = ok ? State::kReady : State::kUnusable;
        gState.store(state, std::memory_order_release);
    }
    return state == State::kReady && gRanksColl == pColl ? &gRanks : nullptr;
}

// Whether the character at p[i], or the end, is ASCII.
bool AsciiAt(const unsigned char *p, std::size_t i) noexcept { return p[i] < 0x80; }

// Whether the collator weighs the text from p[i] on apart from the text
// before it, given that p[i] is ASCII or the end.
bool WeighsApart(const Ranks &ranks, const unsigned char *p, std::size_t i) noexcept
{
    if (i == 0 || p[i - 1] < 0x80) {
        return true;
    }
    // Texts are shorter than 2^30 bytes.
    auto at = static_cast<int32_t>(i);
    UChar32 c = 0;
    U8_PREV(p, 0, at, c);
    return !ranks.IsPreceder(c);
}

} // namespace

namespace velkc::unicode {

std::size_t SplitBefore(const UCollator *pColl, const char *pszA, const char *pszB, std::size_t i) noexcept
{
    const Ranks *pRanks = RanksFor(pColl);
    if (pRanks == nullptr) {
        return 0;
    }
    const auto *a = reinterpret_cast<const unsigned char *>(pszA);
    const auto *b = reinterpret_cast<const unsigned char *>(pszB);
    // Both texts are well-formed and agree before i, so a character of
    // either that starts before i starts there in both.
    while (i > 0 && !(AsciiAt(a, i) && AsciiAt(b, i) && WeighsApart(*pRanks, a, i))) {
        --i;
    }
    return i;
}

int CompareAsciiUpperFrom(const UCollator *pColl, const char *pszA, const char *pszB, std::size_t i) noexcept
{
    const Ranks *pRanks = RanksFor(pColl);
    if (pRanks == nullptr) {
        return kNoDecision;
    }
    const Ranks &ranks = *pRanks;
    const auto *a = reinterpret_cast<const unsigned char *>(pszA);
    const auto *b = reinterpret_cast<const unsigned char *>(pszB);
    // The next character that weighs, from p[j] on: a byte of 1..127 of
    // nonzero rank, the terminator, or the lead of a longer sequence. A
    // contraction lead before a longer sequence may contract with it.
    const auto next = [&ranks](const unsigned char *p, std::size_t &j) {
        while (p[j] != 0 && p[j] < 0x80 && ranks.rank[p[j]] == 0) {
            ++j;
        }
        return p[j] < 0x80 && ranks.leadsContraction[p[j]] && p[j + 1] >= 0x80 ? 0x80 : p[j];
    };
    for (std::size_t ia = i, ib = i;; ++ia, ++ib) {
        const unsigned ca = next(a, ia);
        const unsigned cb = next(b, ib);
        if (ca >= 0x80 || cb >= 0x80) {
            return kNoDecision;
        }
        if (ca == 0 || cb == 0) {
            return static_cast<int>(ca != 0) - static_cast<int>(cb != 0);
        }
        if (const int d = ranks.rank[ca] - ranks.rank[cb]; d != 0) {
            return d < 0 ? -1 : 1;
        }
    }
}

} // namespace velkc::unicode
