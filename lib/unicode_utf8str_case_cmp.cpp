// VELKCUnicodeUTF8StrCaseCmp: compares UTF-8 strings ignoring case.
#include "unicode_internal.hpp"

#include <velkc/unicode.h>
#include <velkc/unicode_icu.h>

namespace {

// Upper-cases one operand; false (with the error recorded) on failure.
bool UpperOperand(const char *psz, velkc::MallocPtr<UChar> *ppUpper)
{
    int cch = 0;
    const unsigned err = velkc::unicode::UTF8ToUpperUTF16(psz, ppUpper, &cch);
    if (err != 0 && err != velkc::unicode::kErrRecorded) {
        VELKC_SET_ERR(err);
    }
    return err == 0;
}

} // namespace

// Case is removed by a full upper-case mapping of both strings; the root
// collator then orders the upper-cased forms.
extern "C" VELKC_API int VELKCUnicodeUTF8StrCaseCmp(const char *szA, const char *szB) noexcept
{
    if (szA == nullptr || szB == nullptr) {
        VELKC_SET_ERR(ERR_BAD_PARAMETERS);
        return -2;
    }
    UCollator *pColl = VELKCUnicodeIOpenCollator();
    if (pColl == nullptr) {
        return -2;
    }
    velkc::MallocPtr<UChar> pA;
    velkc::MallocPtr<UChar> pB;
    if (!UpperOperand(szA, &pA) || !UpperOperand(szB, &pB)) {
        return -2;
    }
    switch (velkc::unicode::WithIcu([&] { return ucol_strcoll(pColl, pA.get(), -1, pB.get(), -1); })) {
    case UCOL_LESS:
        return -1;
    case UCOL_EQUAL:
        return 0;
    default:
        return 1;
    }
}
