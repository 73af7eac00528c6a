// VELKCFileSetKeys: set many keys at once and drop others.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
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
        const char *value = nullptr; // the pair still to write, or null
        bool drop = false;           // a line of the key still to drop
    };

    // False when the table cannot be allocated (recorded).
    bool Build(const SzHash *pairs, const SzHash *removals) noexcept
    {
        std::size_t count = 0;
        ForEachKey(pairs, [&count](const SzHashSlot &) { ++count; });
        ForEachKey(removals, [&count](const SzHashSlot &) { ++count; });
        std::size_t size = 16;
        while (size < 2 * count) {
            size *= 2;
        }
        changes_.reset(static_cast<Change *>(std::malloc(size * sizeof(Change))));
        tags_.reset(static_cast<std::uint8_t *>(std::calloc(size, 1)));
        if (!changes_ || !tags_) {
            VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
            return false;
        }
        mask_ = size - 1;
        // An empty key is no line's key.
        ForEachKey(removals, [this](const SzHashSlot &slot) {
            if (slot.pszKey[0] != '\0') {
                Add(slot.pszKey).drop = true;
            }
        });
        ForEachKey(pairs, [this](const SzHashSlot &slot) {
            Add(slot.pszKey).value = slot.pszVal;
            ++pending_;
        });
        return true;
    }

    // The change of a key, or null.
    Change *Find(std::string_view key) noexcept
    {
        const std::uint64_t hash = Hash(key);
        for (std::size_t i = hash & mask_; tags_.get()[i] != 0; i = (i + 1) & mask_) {
            if (tags_.get()[i] == Tag(hash) && changes_.get()[i].key == key) {
                return &changes_.get()[i];
            }
        }
        return nullptr;
    }

    // The value of a change, taken: its pair is written once.
    const char *TakeValue(Change &change) noexcept
    {
        --pending_;
        return std::exchange(change.value, nullptr);
    }

    // How many pairs no line has taken.
    std::size_t pending() const noexcept { return pending_; }

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
            if (tags_.get()[i] == Tag(hash) && changes_.get()[i].key == key) {
                return changes_.get()[i];
            }
        }
        tags_.get()[i] = Tag(hash);
        return changes_.get()[i] = Change{key};
    }

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
        for (std::size_t at = 0; at < key.size(); at += sizeof(std::uint64_t)) {
            std::uint64_t word = 0;
            std::memcpy(&word, key.data() + at, std::min(sizeof word, key.size() - at));
            const unsigned __int128 product = static_cast<unsigned __int128>(h ^ word) * 0x9E3779B97F4A7C15u;
            h = static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
        }
        return h;
    }

    velkc::MallocPtr<Change> changes_;
    velkc::MallocPtr<std::uint8_t> tags_; // 0: a free entry
    std::size_t mask_ = 0;
    std::size_t pending_ = 0;
};

// Decides each line: a key to drop goes, a key with a pair still to write
// has its line replaced by the pair, anything else is copied. A handled key
// is done, so only its first line is dropped or replaced.
//
// Each line's key is looked up once. The copy asks Wants() of each whole
// line and passes over those it refuses in runs; the line it stops at is
// asked about again and then handed to Edit(), both of which use the change
// found the first time. A last line without "\n" is never asked about, and
// Edit() looks it up itself.
class LineEditor {
public:
    LineEditor(velkc::Output &out, ChangeTable &changes, const char *format) noexcept
        : out_(out), changes_(changes), format_(format)
    {}

    bool Wants(std::string_view line) noexcept
    {
        if (found_ == nullptr) {
            found_ = Lookup(line);
        }
        return found_ != nullptr;
    }

    velkc::Status Edit(const velkc::LineReader &line)
    {
        ChangeTable::Change *change = found_ != nullptr ? std::exchange(found_, nullptr) : Lookup(line.view());
        if (change == nullptr) {
            return out_.Write(line.view());
        }
        if (change->drop) {
            change->drop = false;
            return velkc::kOk;
        }
        // The line's key is the change's, byte for byte.
        const velkc::Status status = out_.Pair(format_, change->key.data(), changes_.TakeValue(*change));
        if (status != velkc::kOk) {
            VELKC_LOG(LOG_ERR, "VELKILineKeyMoveHash2File() failed! szBuf=%s, szFormat=%s", line.data(),
                      format_.text());
        }
        return status;
    }

private:
    // The change still to make to a line of its key, or null for a line to
    // copy: comments, blank lines, other keys and keys already handled.
    ChangeTable::Change *Lookup(std::string_view line) noexcept
    {
        const std::optional<std::string_view> key = velkc::LineKey(line);
        ChangeTable::Change *change = key && !key->empty() ? changes_.Find(*key) : nullptr;
        return change != nullptr && (change->drop || change->value != nullptr) ? change : nullptr;
    }

    velkc::Output &out_;
    ChangeTable &changes_;
    const velkc::PairFormat format_;
    ChangeTable::Change *found_ = nullptr; // of the line the copy stopped at
};

// Appends the pairs no line took, in the table's slot order.
velkc::Status AppendPending(velkc::Output &out, const SzHash *pHash, ChangeTable &changes, const char *format)
{
    const velkc::PairFormat pairFormat(format);
    velkc::Status status = velkc::kOk;
    ChangeTable::ForEachKey(pHash, [&](const SzHashSlot &slot) {
        if (status == velkc::kOk && changes.Find(slot.pszKey)->value != nullptr) {
            status = out.Pair(pairFormat, slot.pszKey, slot.pszVal);
        }
    });
    return status;
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
    if (szFile == nullptr || pHash == nullptr || !velkc::SafePairs(pHash)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : velkc::kDefaultPairFormat;
    ChangeTable changes;
    if (!changes.Build(pHash, pRemove)) {
        return -1;
    }
    velkc::Rewrite rw(szFile);
    velkc::Status status = Begin(rw);
    if (status == velkc::kOk) {
        LineEditor editor(rw.out(), changes, format);
        status = rw.CopyLinesUnless([&editor](std::string_view line) { return editor.Wants(line); },
                                    [&editor](const velkc::LineReader &line) { return editor.Edit(line); });
    }
    if (status == velkc::kOk && changes.pending() > 0) {
        status = rw.SeparateFromLastLine();
        if (status == velkc::kOk) {
            status = AppendPending(rw.out(), pHash, changes, format);
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
