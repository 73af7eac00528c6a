// VELKCFileEditOpen: take a file's writers' lock and read it into memory.
#include "edit.hpp"
#include "internal/report.hpp"

#include <memory>
#include <new>

extern "C" VELKCFileEdit *VELKCFileEditOpen(const char *szFile, int flags) noexcept
{
    if (szFile == nullptr || (flags & ~EDIT_FLAG_EXISTING) != 0) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return nullptr;
    }
    std::unique_ptr<VELKCFileEdit> edit(new (std::nothrow) VELKCFileEdit(szFile));
    if (!edit) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    velkc::Rewrite::Target target;
    velkc::Status status = edit->rewrite.Open(target);
    edit->exists = target == velkc::Rewrite::Target::kOpened;
    if (status == velkc::kOk && !edit->exists && (flags & EDIT_FLAG_EXISTING)) {
        status = ERR_OPEN_FAILED;
    }
    if (status == velkc::kOk && edit->exists) {
        status = edit->document.Load(edit->rewrite.target().fd(), VELKC_FILE_EDIT_MAX_SIZE);
    }
    if (status != velkc::kOk) {
        VELKC_FAIL(status);
        return nullptr;
    }
    return edit.release();
}
