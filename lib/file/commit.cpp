// Committing a writer's change to its target.
#include "commit.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace velkc {

Status CommitTemp(Output &out, TempFile &temp, const Ownership *owner, bool creating, int dirFd)
{
    const int fd = temp.fd();
    if (Status status = out.Flush()) {
        return status;
    }
    if (fsync(fd) != 0) {
        return out.Error();
    }
    // fchown clears set-id bits, so the mode is set after it.
    if (owner != nullptr && (fchown(fd, owner->uid, owner->gid) != 0 || fchmod(fd, owner->mode & 07777) != 0)) {
        return out.Error();
    }
    if (Status status = creating ? temp.LinkNew() : temp.Replace()) {
        return status;
    }
    return fsync(dirFd) == 0 ? kOk : ERR_WRITE_FAILED;
}

Status AppendAt(int fd, off_t end, std::string_view text, bool quotaError)
{
    if (WriteAll(fd, text, end) && fsync(fd) == 0) {
        return kOk;
    }
    const Status status = WriteFailure(quotaError);
    if (ftruncate(fd, end) == 0) {
        fsync(fd);
    }
    return status;
}

} // namespace velkc
