// Sections as the writers put them into files: a "[name]" header, then one
// line per pair of a table.
#pragma once

#include "output.hpp"

#include <velkc/hash.h>

namespace velkc {

// The default key/value format of the writers.
inline constexpr const char *kDefaultPairFormat = "%s=%s\n";

// True when every pair of hash can be written without changing the file's
// structure (see IsSafeKey and IsSafeValue). A null hash has no pairs.
bool SafePairs(const SzHash *hash) noexcept;

// SafePairs, and a name (when given) without a line break.
bool SafeSection(const char *name, const SzHash *hash) noexcept;

// Writes "[name]\n" when name is given, then every pair of hash, in the
// table's slot order, with format (default "%s=%s\n"). A format that
// VELKCIFileCheckFormat refuses, or a section that SafeSection refuses, is
// ERR_BAD_PARAMETERS, with nothing written.
Status WriteSection(Output &out, const char *name, const SzHash *hash, const char *format);

} // namespace velkc
