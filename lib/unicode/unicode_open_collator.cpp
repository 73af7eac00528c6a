// VELKCUnicodeIOpenCollator and the process-wide collator it opens.
#include "internal/report.hpp"
#include "unicode_internal.hpp"

#include <velkc/unicode_icu.h>

#include <atomic>

extern "C" {
VELKC_API UCollator *pucollSysCollator = nullptr;
}

// Opens the root-locale collator on first use and keeps it for the life of
// the process. A failed open is retried by the next call. Threads that race
// on the first use each open one; the first to publish it wins and the
// others close theirs.
extern "C" VELKC_API UCollator *VELKCUnicodeIOpenCollator(void) noexcept
{
    std::atomic_ref<UCollator *> slot(pucollSysCollator);
    if (UCollator *pColl = slot.load(std::memory_order_acquire)) {
        return pColl;
    }
    UErrorCode status = U_ZERO_ERROR;
    UCollator *pOpened = velkc::unicode::WithIcu([&] { return ucol_open("", &status); });
    if (pOpened == nullptr) {
        VELKC_SET_ERR(ERR_OPEN_FAILED);
        return nullptr;
    }
    UCollator *pPublished = nullptr;
    if (slot.compare_exchange_strong(pPublished, pOpened, std::memory_order_acq_rel, std::memory_order_acquire)) {
        return pOpened;
    }
    velkc::unicode::WithIcu([&] { ucol_close(pOpened); });
    return pPublished;
}
