// Moves "key=value" lines into a hash, as the pair and section readers do.
#pragma once

#include <velkc/containers.hpp>

namespace velkc {

class PairSplitter {
public:
    // Allocates the working list; check ok(). A failed allocation has set
    // the error record.
    PairSplitter();

    bool ok() const noexcept { return list_.get() != nullptr; }

    // Splits line at its first "=" (key and value trimmed, one pair of quotes
    // removed) and sets the pair in the hash, replacing an earlier value. A
    // line that does not split is skipped, leaving the splitter's error in
    // the record. False when memory runs out.
    bool add(const char *line, SzHash **ppHash);

private:
    List list_;
};

} // namespace velkc
