// Resolving a writer's target so that no other user can steer it.
//
// The path is walked one component at a time with descriptors (openat with
// O_PATH and O_NOFOLLOW), so that what is checked is what is opened. A
// symbolic link, in the last component or in any directory on the way, is
// followed only when following it cannot hand another user's choice to the
// writer:
//   - never when the link lies in a sticky, world-writable directory and
//     belongs neither to the writer nor to that directory's owner;
//   - otherwise when it belongs to the writer or to root;
//   - otherwise only when what it leads to belongs to the link's owner: a
//     link a user made may lead only to that user's own files.
// Any other link is refused with ERR_UNSAFE_LINK and a line in the system
// log saying which link and why. So root's link from /etc into /run, or a
// user's dotfile linked into a folder of their own, is still edited through,
// while a link planted by another user is not.
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"

#include <climits>
#include <sys/stat.h>

namespace velkc {

// Where a writer's target lies once its links are resolved.
struct ResolvedTarget {
    UniqueFd dir;                 // the target's directory, open for reading
    struct stat dirStat = {};     // its status
    char name[NAME_MAX + 1] = {}; // the target's name in it
    bool exists = false;          // something of that name is there
};

// Resolves path for a writer. ERR_OPEN_FAILED when a directory on the way
// is missing or unreachable, the path names a directory, a link dangles or
// too many links are followed; ERR_UNSAFE_LINK for a refused link.
Status ResolveTarget(const char *path, ResolvedTarget &target);

} // namespace velkc
