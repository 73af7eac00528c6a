// How a writer's change reaches its target: a filled temporary file, given
// the target's owner, mode and extended attributes and synced, moved into
// place, then the directory synced, so that a change survives a power loss
// once reported, and a power loss before that leaves the old file whole.
#pragma once

#include "internal/status.hpp"
#include "output.hpp"
#include "temp_file.hpp"

#include <sys/types.h>

namespace velkc {

// The owner, group and permission bits that a committed file is given.
struct Ownership {
    uid_t uid;
    gid_t gid;
    mode_t mode;
};

// Flushes out into temp's file; gives it owner unless that is null, and the
// extended attributes of the file open on attributesOf unless that is
// negative; syncs it and moves it into place: renamed over the target, or,
// when creating, linked in under the target's name. Then syncs the
// directory dirFd: ERR_NOT_DURABLE when that fails, the change being in
// place. Write failures are reported as out reports them.
Status CommitTemp(Output &out, TempFile &temp, const Ownership *owner, int attributesOf, bool creating, int dirFd);

} // namespace velkc
