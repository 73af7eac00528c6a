// How a writer's change reaches its target: a filled temporary file moved
// into place, or text appended to the target in one write. Both sync what
// they wrote before they report success, so that a change survives a power
// loss once reported.
#pragma once

#include "output.hpp"
#include "status.hpp"
#include "temp_file.hpp"

#include <string_view>
#include <sys/types.h>

namespace velkc {

// The owner, group and permission bits that a committed file is given.
struct Ownership {
    uid_t uid;
    gid_t gid;
    mode_t mode;
};

// Flushes out into temp's file and syncs it, gives it owner unless that is
// null, and moves it into place: renamed over the target, or, when
// creating, linked in under the target's name. Then syncs the directory
// dirFd. Write failures are reported as out reports them.
Status CommitTemp(Output &out, TempFile &temp, const Ownership *owner, bool creating, int dirFd);

// Writes text at offset end of fd in one call and syncs it; on any failure
// the file is cut back to end. quotaError as for Output.
Status AppendAt(int fd, off_t end, std::string_view text, bool quotaError);

} // namespace velkc
