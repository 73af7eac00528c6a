// Extended attributes carried over from a rewritten file to its successor.
#pragma once

#include "internal/status.hpp"

namespace velkc {

// Gives the file open on to exactly the extended attributes of the file open
// on from that the caller can see: POSIX ACLs, user.* attributes, security
// labels. Those that to has and from lacks (an ACL inherited from the
// directory's default, say) are removed. A file system without extended
// attributes is no error. ERR_READ_FAILED when from's cannot be read,
// ERR_WRITE_FAILED when to's cannot be set, ERR_OUT_OF_MEMORY.
Status CopyAttributes(int from, int to);

} // namespace velkc
