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
        return velkc::kRecorded;
    }
    if (VELKCSzHashEnumKey(pPending, keys.address()) < 0) {
        VELKC_LOG(LOG_ERR, "VELKCSzHashEnumKey() failed!");
        return velkc::kRecorded;
    }
    for (int i = 0; i < keys->nItem; ++i) {
        const char *key = keys->pszItem[i];
        if (velkc::Status status = out.Pair(format, key, VELKCSzHashGetValue(pPending, key))) {
            return status;
        }
    }
    return velkc::kOk;
}

} // namespace

extern "C" int VELKCFileSetKeys(const char *szFile, SzHash *pHash, SzHash *pRemove, const char *szFormat)
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
    velkc::Status status = velkc::kOk;
    switch (rw.OpenTarget()) {
    case velkc::Rewrite::Target::kOpened:
        status = rw.Begin();
        break;
    case velkc::Rewrite::Target::kMissing: // a new file, as if it had been empty
        status = rw.BeginWithoutTarget(getuid(), getgid(), 0644);
        break;
    case velkc::Rewrite::Target::kFailed:
        status = ERR_OPEN_FAILED;
        break;
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    const velkc::Output &out = rw.out();
    velkc::LineCopy copy;
    status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        if (velkc::IsCommentLine(line.data())) {
            return out.Write(line.view());
        }
        const char *key = KeyOf(copy, line.view());
        if (key == nullptr) {
            return ERR_OUT_OF_MEMORY;
        }
        if (key[0] == '\0') {
            return out.Write(line.view());
        }
        if (removing && VELKCSzHashRemoveKey(removing.get(), key) != nullptr) {
            return velkc::kOk; // dropped
        }
        const char *value = VELKCSzHashRemoveKey(pending.get(), key);
        if (value == nullptr) {
            return out.Write(line.view());
        }
        const velkc::Status s = out.Pair(format, key, value);
        if (s != velkc::kOk) {
            VELKC_LOG(LOG_ERR, "VELKILineKeyMoveHash2File() failed! szBuf=%s, szFormat=%s", line.data(), format);
        }
        return s;
    });
    if (status == velkc::kOk && VELKCSzHashPairNum(pending.get()) > 0) {
        status = rw.SeparateFromLastLine();
        if (status == velkc::kOk) {
            status = AppendPending(out, pending.get(), format);
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
