// VELKCFileRemoveKey: drop every line of a key.
#include "internal/report.hpp"
#include "line_model.hpp"
#include "rewrite.hpp"

extern "C" int VELKCFileRemoveKey(const char *szFile, const char *szKey) noexcept
{
    if (szFile == nullptr || szKey == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Rewrite rw(szFile);
    if (velkc::Status status = rw.Start()) {
        return VELKC_FAIL(status);
    }
    int removed = 0;
    const velkc::Status status = rw.CopyLinesContaining(szKey, [&](const velkc::LineReader &line) -> velkc::Status {
        if (velkc::IsKeyLineOf(line.view(), szKey)) {
            ++removed;
            return velkc::kOk;
        }
        return rw.out().Write(line.view());
    });
    if (status != velkc::kOk) {
        return VELKC_FAIL(status);
    }
    if (removed == 0) {
        VELKC_SET_ERR(ERR_KEY_NOT_FOUND); // the copy is discarded
        return 0;
    }
    if (velkc::Status commit = rw.Commit()) {
        return VELKC_FAIL(commit);
    }
    return removed;
}
