// VELKCFileRemoveKey: drop every line of a key.
#include "rewrite.hpp"

extern "C" int VELKCFileRemoveKey(const char *szFile, const char *szKey) noexcept
{
    if (szFile == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile, {.readError = ERR_WRITE_FAILED});
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    velkc::LineCopy copy;
    int removed = 0;
    const velkc::Status status = rw.CopyLines([&](const velkc::LineReader &line) -> velkc::Status {
        char *key = copy.assign(line.view());
        if (key == nullptr) {
            return ERR_OUT_OF_MEMORY;
        }
        if (VELKCILineKeyMatch(key, szKey)) {
            ++removed;
            return velkc::kOk;
        }
        return rw.out().Write(line.view());
    });
    // A read error counts only once something was removed; before that the
    // key is simply not found.
    if (removed == 0 && (status == velkc::kOk || rw.target().failed())) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND); // the copy is discarded
        return 0;
    }
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (velkc::Status commit = rw.Commit()) {
        return VELKC_FAIL(commit);
    }
    return removed;
}
