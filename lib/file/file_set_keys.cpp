// VELKCFileSetKeys: set many keys at once and drop others.
#include "line_model.hpp"
#include "owned_container.hpp"
#include "rewrite.hpp"

#include <velkc/str.h>

namespace {

constexpr const char *kDefaultFormat = "%s=%s\n";

// A working copy, so that the caller's tables stay as they were.
SzHash *CopyOf(const SzHash *pHash)
{
    SzHash *copy = VELKCIHashAllocator(pHash->nSlot, pHash->cbSpace);
    if (copy != nullptr) {
        VELKCCopyHash(pHash, copy);
    }
    return copy;
}

// The key of a line: its first "=" token, trimmed; empty for a blank line.
const char *KeyOf(velkc::LineCopy &copy, std::string_view line)
{
    char *cursor = copy.assign(line);
    if (cursor == nullptr) {
        return nullptr;
    }
    char *key = VELKCStrTokIndex(&cursor, "=");
    if (key == nullptr) {
        return "";
    }
    VELKCStrTrimSpace(key, nullptr);
    return key;
}

// Appends the pairs still pending, in the table's slot order.
velkc::Status AppendPending(const velkc::Output &out, const SzHash *pPending, const char *format)
{
    velkc::OwnedList keys(VELKCSzListAlloc(512));
    if (!keys) {
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
    switch (rw.OpenTarget()) {
    case velkc::Rewrite::Target::kOpened:
        return rw.Begin();
    case velkc::Rewrite::Target::kMissing:
        return rw.BeginWithoutTarget(getuid(), getgid(), 0644);
    case velkc::Rewrite::Target::kFailed:
        break;
    }
    return ERR_OPEN_FAILED;
}

// Decides each line: a key to drop goes, a pending key's line is replaced by
// its pair, anything else is copied. Handled keys leave their table, so
// only a key's first line is dropped or replaced.
class LineEditor {
public:
    LineEditor(const velkc::Output &out, SzHash *pPending, SzHash *pRemoving, const char *format) noexcept
        : out_(out), pending_(pPending), removing_(pRemoving), format_(format)
    {
    }

    velkc::Status operator()(const velkc::LineReader &line)
    {
        if (velkc::IsCommentLine(line.data())) {
            return out_.Write(line.view());
        }
        const char *key = KeyOf(copy_, line.view());
        if (key == nullptr) {
            return ERR_OUT_OF_MEMORY;
        }
        if (key[0] == '\0') {
            return out_.Write(line.view());
        }
        if (removing_ != nullptr && VELKCSzHashRemoveKey(removing_, key) != nullptr) {
            return velkc::kOk;
        }
        const char *value = VELKCSzHashRemoveKey(pending_, key);
        if (value == nullptr) {
            return out_.Write(line.view());
        }
        const velkc::Status status = out_.Pair(format_, key, value);
        if (status != velkc::kOk) {
            VELKC_LOG(LOG_ERR, "VELKILineKeyMoveHash2File() failed! szBuf=%s, szFormat=%s", line.data(), format_);
        }
        return status;
    }

private:
    const velkc::Output &out_;
    SzHash *pending_;
    SzHash *removing_;
    const char *format_;
    velkc::LineCopy copy_;
};

} // namespace

extern "C" int VELKCFileSetKeys(const char *szFile, SzHash *pHash, SzHash *pRemove, const char *szFormat) noexcept
{
    if (szFile == nullptr || pHash == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    const char *format = szFormat != nullptr ? szFormat : kDefaultFormat;
    velkc::OwnedHash pending(CopyOf(pHash));
    velkc::OwnedHash removing(pRemove != nullptr ? CopyOf(pRemove) : nullptr);
    if (!pending || (pRemove != nullptr && !removing)) {
        return -1; // the allocator has recorded the failure
    }
    velkc::Rewrite rw(szFile, {.readError = ERR_WRITE_FAILED});
    velkc::Status status = Begin(rw);
    if (status == velkc::kOk) {
        status = rw.CopyLines(LineEditor(rw.out(), pending.get(), removing.get(), format));
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
