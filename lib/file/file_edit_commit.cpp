// VELKCFileEditCommit: write a transaction's changes in one commit.
#include "edit.hpp"
#include "internal/report.hpp"

#include <memory>

extern "C" int VELKCFileEditCommit(VELKCFileEdit *pEdit) noexcept
{
    // The transaction, its lock with it, ends here whatever happens.
    const std::unique_ptr<VELKCFileEdit> edit(pEdit);
    if (!edit) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    if (!edit->document.changed()) {
        return 0;
    }
    velkc::Rewrite &rw = edit->rewrite;
    velkc::Status status = edit->exists ? rw.Begin() : rw.BeginCreate();
    if (status == velkc::kOk) {
        status = edit->document.Write(rw.out());
    }
    if (velkc::Status failed = rw.CommitAfter(status)) {
        return VELKC_FAIL(failed);
    }
    return 1;
}
