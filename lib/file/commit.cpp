// Committing a writer's change to its target.
#include "commit.hpp"

#include "attributes.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace velkc {

namespace {

// Everything but the content is in place before the file is synced, so that
// no power loss can keep the content under the temporary file's owner or
// mode. fchown clears set-id bits, and an access ACL sets the mode's bits
// from its entries, so the mode comes last.
Status GiveAttributes(int fd, const Ownership &owner, int attributesOf, Output &out)
{
    if (fchown(fd, owner.uid, owner.gid) != 0) {
        return out.Error();
    }
    if (attributesOf >= 0) {
        if (Status status = CopyAttributes(attributesOf, fd)) {
            return status;
        }
    }
    return fchmod(fd, owner.mode & 07777) == 0 ? kOk : out.Error();
}

} // namespace

Status CommitTemp(Output &out, TempFile &temp, const Ownership *owner, int attributesOf, bool creating, int dirFd)
{
    const int fd = temp.fd();
    if (Status status = out.Flush()) {
        return status;
    }
    if (owner != nullptr) {
        if (Status status = GiveAttributes(fd, *owner, attributesOf, out)) {
            return status;
        }
    }
    if (fsync(fd) != 0) {
        return out.Error();
    }
    if (Status status = creating ? temp.LinkNew() : temp.Replace()) {
        return status;
    }
    return fsync(dirFd) == 0 ? kOk : ERR_NOT_DURABLE;
}

} // namespace velkc
