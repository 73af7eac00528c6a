// The unified diff that --dry-run prints.
#pragma once

#include <ostream>
#include <string_view>

namespace conf {

// Prints the change from before to after as a unified diff of their lines
// (three lines of context, "a/FILE" and "b/FILE"); nothing when they are
// the same.
void PrintUnifiedDiff(std::ostream &out, std::string_view file, std::string_view before, std::string_view after);

} // namespace conf
