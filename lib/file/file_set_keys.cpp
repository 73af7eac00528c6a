// VELKCFileSetKeys: set many keys at once and drop others.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"
#include "section_output.hpp"
#include <velkc/containers.hpp>

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <cstring>

namespace {

// A new file is private to the caller's real user: mode 0644.
constexpr mode_t kNewFileMode = 0644;

// A working copy, so that the caller's tables stay as they were.
SzHash *CopyOf(const SzHash *pHash)
{
    SzHash *copy = VELKCIHashAllocator(pHash->nSlot, pHash->cbSpace);
    if (copy != nullptr) {
        VELKCCopyHash(pHash, copy);
    }
    return copy;
}

// Appends the pairs still pending, in the table's slot order.
velkc::Status AppendPending(velkc::Output &out, const SzHash *pPending, const char *format)
{
    velkc::List keys(VELKCSzListAlloc(512));
    if (!keys.get()) {
        return velkc::kLeaveRecord;
    }
    if (VELKCSzHashEnumKey(pPending, keys.address()) < 0) {
        VELKC_LOG(LOG_ERR, "VELKCSzHashEnumKey() failed!");
        return velkc::kLeaveRecord;
    }
    for (int i = 0; i < keys->nItem; ++i) {
        const char *key = keys->pszItem[i];
        if (velkc::Status status = out.Pair(format, key, VELKCSzHashGetValue(pPending, key))) {
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

// The keys a line may be handled for, as a bitmap of key hashes: most lines
// of a large file are passed over without looking up either table.
class KeyFilter {
public:
    void Add(const SzHash *pHash) noexcept
    {
        for (int i = 0; pHash != nullptr && i < pHash->nSlot; ++i) {
            if (const char *key = pHash->rgSlot[i].pszKey) {
                bits_.set(Hash(key));
            }
        }
    }

    // False when the line is no key line of any added key.
    bool MayMatch(std::string_view line) const noexcept
    {
        const std::optional<std::string_view> key = velkc::LineKey(line);
        return key && !key->empty() && bits_.test(Hash(*key));
    }

private:
    static constexpr std::size_t kBits = 4096;

    // The length and up to eight bytes at either end, mixed in constant
    // time: keys that differ only deep inside share a bit, which costs a
    // table lookup, never a wrong answer.
    static std::size_t Hash(std::string_view key) noexcept
    {
        const std::size_t n = std::min<std::size_t>(key.size(), sizeof(std::uint64_t));
        std::uint64_t head = 0;
        std::uint64_t tail = 0;
        std::memcpy(&head, key.data(), n);
        std::memcpy(&tail, key.data() + key.size() - n, n);
        const std::uint64_t mixed = (head * 0x9E3779B97F4A7C15u ^ tail ^ key.size()) * 0xC2B2AE3D27D4EB4Fu;
        return static_cast<std::size_t>(mixed >> 52) % kBits;
    }

    std::bitset<kBits> bits_;
};

// Decides each line: a key to drop goes, a pending key's line is replaced by
// its pair, anything else is copied. Handled keys leave their table, so
// only a key's first line is dropped or replaced.
class LineEditor {
public:
    LineEditor(velkc::Output &out, SzHash *pPending, SzHash *pRemoving, const char *format) noexcept
        : out_(out), pending_(pPending), removing_(pRemoving), format_(format)
    {}

    velkc::Status operator()(const velkc::LineReader &line)
    {
        const std::optional<std::string_view> key = velkc::LineKey(line.view());
        if (!key || key->empty()) {
            return out_.Write(line.view()); // comments, blank lines
        }
        bool handled = false;
        if (velkc::Status status = Handle(*key, handled); status != velkc::kOk || handled) {
            if (status != velkc::kOk) {
                VELKC_LOG(LOG_ERR, "VELKILineKeyMoveHash2File() failed! szBuf=%s, szFormat=%s", line.data(), format_);
            }
            return status;
        }
        return out_.Write(line.view());
    }

private:
    // Drops the line of a key to remove, or writes the pair of a pending key
    // in its place; handled tells whether either happened.
    velkc::Status Handle(std::string_view key, bool &handled)
    {
        const velkc::ScopedCString name(key); // cuts the line until we return
        if (removing_ != nullptr && VELKCSzHashRemoveKey(removing_, name.c_str()) != nullptr) {
            handled = true;
            return velkc::kOk;
        }
        const char *value = VELKCSzHashRemoveKey(pending_, name.c_str());
        handled = value != nullptr;
        return handled ? out_.Pair(format_, name.c_str(), value) : velkc::kOk;
    }

    velkc::Output &out_;
    SzHash *pending_;
    SzHash *removing_;
    const char *format_;
};

} // namespace

extern "C" int VELKCFileSetKeys(const char *szFile, const SzHash *pHash, const SzHash *pRemove,
                                const char *szFormat) noexcept
{
    if (szFile == nullptr || pHash == nullptr || !velkc::SafePairs(pHash)) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : velkc::kDefaultPairFormat;
    velkc::Hash pending(CopyOf(pHash));
    velkc::Hash removing(pRemove != nullptr ? CopyOf(pRemove) : nullptr);
    if (!pending.get() || (pRemove != nullptr && !removing.get())) {
        return -1; // the allocator has recorded the failure
    }
    velkc::Rewrite rw(szFile);
    velkc::Status status = Begin(rw);
    if (status == velkc::kOk) {
        KeyFilter filter;
        filter.Add(pending.get());
        filter.Add(removing.get());
        status = rw.CopyLinesUnless([&filter](std::string_view line) { return filter.MayMatch(line); },
                                    LineEditor(rw.out(), pending.get(), removing.get(), format));
    }
    if (status == velkc::kOk && VELKCSzHashPairNum(pending.get()) > 0) {
        status = rw.SeparateFromLastLine();
        if (status == velkc::kOk) {
            status = AppendPending(rw.out(), pending.get(), format);
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
