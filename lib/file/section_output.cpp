// Sections as the writers put them into files.
#include "section_output.hpp"

#include "line_model.hpp"

#include <velkc/file.h>

namespace velkc {

bool SafePairs(const SzHash *hash) noexcept
{
    for (int i = 0; hash != nullptr && i < hash->nSlot; ++i) {
        const SzHashSlot &slot = hash->rgSlot[i];
        if (slot.pszKey != nullptr && (!IsSafeKey(slot.pszKey) || !IsSafeValue(slot.pszVal))) {
            return false;
        }
    }
    return true;
}

bool SafeSection(const char *name, const SzHash *hash) noexcept
{
    return (name == nullptr || IsSafeValue(name)) && SafePairs(hash);
}

Status WriteSection(Output &out, const char *name, const SzHash *hash, const char *format)
{
    if (!VELKCIFileCheckFormat(format) || !SafeSection(name, hash)) {
        return ERR_BAD_PARAMETERS;
    }
    if (name != nullptr) {
        if (Status status = out.Write("[")) {
            return status;
        }
        if (Status status = out.Write(name)) {
            return status;
        }
        if (Status status = out.Write("]\n")) {
            return status;
        }
    }
    for (int i = 0; hash != nullptr && i < hash->nSlot; ++i) {
        const SzHashSlot &slot = hash->rgSlot[i];
        if (slot.pszKey == nullptr) {
            continue;
        }
        if (Status status = out.Pair(format != nullptr ? format : kDefaultPairFormat, slot.pszKey, slot.pszVal)) {
            return status;
        }
    }
    return kOk;
}

} // namespace velkc
