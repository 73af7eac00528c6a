// VELKCFileEditGetText: a transaction's file as read, or as it stands.
#include "edit.hpp"
#include "internal/report.hpp"

#include <climits>
#include <cstdlib>

extern "C" int VELKCFileEditGetText(VELKCFileEdit *pEdit, int fOriginal, char **pszText) noexcept
{
    if (pEdit == nullptr || pszText == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -1;
    }
    velkc::Output current;
    if (!fOriginal) {
        if (velkc::Status status = pEdit->document.Write(current)) {
            return VELKC_FAIL(status);
        }
    }
    const std::string_view text = fOriginal ? pEdit->document.original() : current.contents();
    auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    *pszText = copy;
    return static_cast<int>(text.size());
}
