// VELKCFileSetKeys: set many keys at once and drop others.
#include "internal/internal.hpp"
#include "internal/little_endian.hpp"
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace {

// A new file is private to the caller's real user: mode 0644.
constexpr mode_t kNewFileMode = 0644;

// The changes of one call, found by the key of a line in one lookup: every
// key of the pairs to write and of the keys to drop, in a table of their
// own so that the caller's tables stay as they are.
class ChangeTable {
public:
    struct Change {
        std::string_view key;        // a C string of the caller's tables
        std::string_view value = {}; // of the pair, a C string too
        bool write = false;          // the pair is still to write
        bool drop = false;           // a line of the key still to drop
    };

    // Records ERR_BAD_PARAMETERS for a pair that would change the structure
    // of the file (see IsSafeKey), ERR_OUT_OF_MEMORY when the table cannot
    // be allocated. The pairs are checked as they are added, so that their
    // sizes are found once.
    bool Build(const SzHash *pairs, const SzHash *removals) noexcept
    {
        std::size_t count = 0;
        ForEachKey(pairs, [&count](const SzHashSlot &) { ++count; });
        ForEachKey(removals, [&count](const SzHashSlot &) { ++count; });
        // At most a quarter of the slots used: most lines are of keys that
        // are not there, and their probes end at the first free slot.
        std::size_t size = 16;
        while (size < 4 * count) {
            size *= 2;
        }
        changes_.reset(static_cast<Change *>(std::malloc(std::max<std::size_t>(count, 1) * sizeof(Change))));
        slots_.reset(static_cast<std::uint32_t *>(std::malloc(size * sizeof(std::uint32_t))));
        tags_.reset(static_cast<std::uint8_t *>(std::calloc(size, 1)));
        if (!changes_ || !slots_ || !tags_) {
            VELKC_SET_ERR(velkc::SafePairs(pairs) ? ERR_OUT_OF_MEMORY : ERR_BAD_PARAMETERS);
            return false;
        }
        mask_ = size - 1;
        bool safe = true;
        ForEachKey(pairs, [this, &safe](const SzHashSlot &slot) {
            const std::optional<std::size_t> keySize = velkc::SafeKeySize(slot.pszKey);
            const std::optional<std::size_t> valueSize = velkc::SafeValueSize(slot.pszVal);
            safe = safe && keySize && valueSize;
            if (safe) {
                Change &change = Add({slot.pszKey, *keySize});
                change.value = {slot.pszVal, *valueSize};
                change.write = true;
                ++pending_;
                ++pairs_;
            }
        });
        if (!safe) {
            VELKC_SET_ERR(ERR_BAD_PARAMETERS);
            return false;
        }
        // An empty key is no line's key.
        ForEachKey(removals, [this](const SzHashSlot &slot) {
            if (slot.pszKey[0] != '\0') {
                Add(slot.pszKey).drop = true;
            }
        });
        return true;
    }

    // The change of a key, or null. Asked of every line, and a call costs
    // about as much as the lookup.
    [[gnu::always_inline]] Change *Find(std::string_view key) noexcept
    {
        const std::uint64_t hash = Hash(key);
        for (std::size_t i = hash & mask_; tags_.get()[i] != 0; i = (i + 1) & mask_) {
            if (tags_.get()[i] == Tag(hash) && At(i).key == key) {
                return &At(i);
            }
        }
        return nullptr;
    }

    // The pair of a change, taken: it is written once.
    std::string_view TakeValue(Change &change) noexcept
    {
        --pending_;
        change.write = false;
        return change.value;
    }

    // How many pairs no line has taken.
    std::size_t pending() const noexcept { return pending_; }

    // The changes of the pairs, in the table's slot order: they were added
    // first, one for each key.
    std::span<const Change> Pairs() const noexcept { return {changes_.get(), pairs_}; }

    // Calls fn(slot) for every pair in the table's slot order.
    template <typename Fn>
    static void ForEachKey(const SzHash *pHash, Fn &&fn)
    {
        for (int i = 0; pHash != nullptr && i < pHash->nSlot; ++i) {
            if (pHash->rgSlot[i].pszKey != nullptr) {
                fn(pHash->rgSlot[i]);
            }
        }
    }

private:
    Change &Add(std::string_view key) noexcept
    {
        const std::uint64_t hash = Hash(key);
        std::size_t i = hash & mask_;
        for (; tags_.get()[i] != 0; i = (i + 1) & mask_) {
            if (tags_.get()[i] == Tag(hash) && At(i).key == key) {
                return At(i);
            }
        }
        tags_.get()[i] = Tag(hash);
        slots_.get()[i] = used_;
        return changes_.get()[used_++] = Change{key};
    }

    // The change a used slot stands for.
    Change &At(std::size_t slot) noexcept { return changes_.get()[slots_.get()[slot]]; }

    // Seven more bits of the hash with the high bit set, kept apart from
    // the entries: a probe settles most keys that are not there in one
    // cache line, without reading the keys.
    static std::uint8_t Tag(std::uint64_t hash) noexcept { return static_cast<std::uint8_t>(hash >> 57 | 0x80); }

    // Eight bytes at a time, each word multiplied into 128 bits and both
    // halves folded together, so that every byte of the key reaches the low
    // bits the table is indexed by.
    static std::uint64_t Hash(std::string_view key) noexcept
    {
        std::uint64_t h = key.size();
        // Keys of one to eight bytes, the most, take one round without the
        // loop's bookkeeping; an empty one wraps around to the loop, which
        // leaves it its size.
        if (key.size() - 1 < sizeof h) {
            return Mix(h, velkc::LoadLittleEndianTail(key.data(), key.size()));
        }
        for (std::size_t at = 0; at < key.size(); at += sizeof h) {
            h = Mix(h, velkc::LoadLittleEndianTail(key.data() + at, std::min(sizeof h, key.size() - at)));
        }
        return h;
    }

    static std::uint64_t Mix(std::uint64_t h, std::uint64_t word) noexcept
    {
        const unsigned __int128 product = static_cast<unsigned __int128>(h ^ word) * 0x9E3779B97F4A7C15u;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }

    // The changes lie packed in the order they were added, apart from the
    // slots the keys hash to: the table's memory, new to every call, is
    // then little more than the changes themselves.
    velkc::MallocPtr<Change> changes_;
    velkc::MallocPtr<std::uint32_t> slots_; // the index of a slot's change
    velkc::MallocPtr<std::uint8_t> tags_;   // 0: a free slot
    std::uint32_t used_ = 0;
    std::size_t pairs_ = 0;
    std::size_t mask_ = 0;
    std::size_t pending_ = 0;
};

// Decides each line: a key to drop goes, a key with a pair still to write
// has its line replaced by the pair, anything else is copied. A handled key
// is done, so only its first line is dropped or replaced.
//
// Each line's key is looked up once: Wants() finds the change of a line,
// and Edit(), which is handed the line next, makes it.
class LineEditor {
public:
    LineEditor(velkc::Output &out, ChangeTable &changes, const char *format) noexcept
        : out_(out), changes_(changes), format_(format)
    {}

    [[gnu::always_inline]] bool Wants(const velkc::ScannedLine &line) noexcept
    {
        found_ = Lookup(line);
        return found_ != nullptr;
    }

    velkc::Status Edit(std::string_view line)
    {
        ChangeTable::Change &change = *found_;
        if (change.drop) {
            change.drop = false;
            return velkc::kOk;
        }
        // The line's key is the change's, byte for byte.
        const velkc::Status status = out_.Pair(format_, change.key, changes_.TakeValue(change));
        if (status != velkc::kOk) {
            VELKC_LOG(LOG_ERR, "VELKILineKeyMoveHash2File() failed! szBuf=%.*s, szFormat=%s",
                      static_cast<int>(line.size()), line.data(), format_.text());
        }
        return status;
    }

private:
    // The change still to make to a line of its key, or null for a line to
    // copy: comments, blank lines, other keys and keys already handled.
    [[gnu::always_inline]] ChangeTable::Change *Lookup(const velkc::ScannedLine &line) noexcept
    {
        const std::optional<std::string_view> key = velkc::LineKey(line);
        ChangeTable::Change *change = key && !key->empty() ? changes_.Find(*key) : nullptr;
        return change != nullptr && (change->drop || change->write) ? change : nullptr;
    }

    velkc::Output &out_;
    ChangeTable &changes_;
    const velkc::PairFormat format_;
    ChangeTable::Change *found_ = nullptr; // of the line Wants() was asked about last
};

// Appends the pairs no line took, in the table's slot order.
velkc::Status AppendPending(velkc::Output &out, const ChangeTable &changes, const char *format)
{
    const velkc::PairFormat pairFormat(format);
    for (const ChangeTable::Change &change : changes.Pairs()) {
        if (!change.write) {
            continue;
        }
        if (const velkc::Status status = out.Pair(pairFormat, change.key, change.value)) {
            return status;
        }
    }
    return velkc::kOk;
}

// Opens the target; a missing one is rewritten as if it had been empty and
// becomes a file of mode 0644 owned by the caller's real user and group.
velkc::Status Begin(velkc::Rewrite &rw)
{
    velkc::Rewrite::Target target;
    if (velkc::Status status = rw.Open(target)) {
        return status;
    }
    return target == velkc::Rewrite::Target::kOpened ? rw.Begin() : rw.BeginCreate(getuid(), getgid(), kNewFileMode);
}

} // namespace

extern "C" int VELKCFileSetKeys(const char *szFile, const SzHash *pHash, const SzHash *pRemove,
                                const char *szFormat) noexcept
{
    if (szFile == nullptr || pHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    ChangeTable changes;
    if (!changes.Build(pHash, pRemove)) {
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : velkc::kDefaultPairFormat;
    velkc::Rewrite rw(szFile);
    velkc::Status status = Begin(rw);
    if (status == velkc::kOk) {
        LineEditor editor(rw.out(), changes, format);
        // Wants runs for every line: inlined into the reader's loop.
        status = rw.EditLines(
            [&editor](const velkc::ScannedLine &line) __attribute__((always_inline)) { return editor.Wants(line); },
            [&editor](std::string_view line) { return editor.Edit(line); });
    }
    if (status == velkc::kOk && changes.pending() > 0) {
        status = rw.SeparateFromLastLine();
        if (status == velkc::kOk) {
            status = AppendPending(rw.out(), changes, format);
        }
    }
    if (status == velkc::kOk) {
        status = rw.Commit();
        if (status == ERR_RENAME_FAILED) {
            VELKC_LOG(LOG_ERR, "file set keys rename fail %d [%m]", errno);
        }
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    return 1;
}
