// The rewrite steps shared by the configuration-file writers.
#include "rewrite.hpp"

#include "commit.hpp"
#include "line_model.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace velkc {

namespace {
// Created files get what open(path, O_CREAT, 0666) would give them.
constexpr mode_t kCreateMode = 0666;
// Rewrites start private and get the target's mode at the commit.
constexpr mode_t kRewriteMode = 0600;
} // namespace

Status Rewrite::Open(Target &target)
{
    WriteTarget::State state;
    UniqueFd fd;
    if (Status status = where_.Open(path_, state, fd, stat_)) {
        return status;
    }
    if (state == WriteTarget::State::kMissing) {
        target = Target::kMissing;
        return kOk;
    }
    reader_.attach(std::move(fd));
    target = Target::kOpened;
    return kOk;
}

Status Rewrite::Start()
{
    Target target;
    if (Status status = Open(target)) {
        return status;
    }
    return target == Target::kOpened ? Begin() : ERR_OPEN_FAILED;
}

Status Rewrite::StartOrCreate()
{
    Target target;
    if (Status status = Open(target)) {
        return status;
    }
    return target == Target::kOpened ? Begin() : BeginCreate();
}

Status Rewrite::StartTemp(mode_t mode, uid_t owner)
{
    const bool privateName = OthersMayMoveNames(where_.dirStat(), owner);
    if (Status status = temp_.Create(where_.dirFd(), where_.name(), mode, privateName)) {
        return status;
    }
    out_.Attach(temp_.fd(), policy_.quotaError);
    return kOk;
}

Status Rewrite::Begin()
{
    setOwner_ = true;
    return StartTemp(kRewriteMode, stat_.st_uid);
}

Status Rewrite::BeginCreate()
{
    creating_ = true;
    return StartTemp(kCreateMode, geteuid());
}

Status Rewrite::BeginCreate(uid_t uid, gid_t gid, mode_t mode)
{
    creating_ = true;
    setOwner_ = true;
    stat_.st_uid = uid;
    stat_.st_gid = gid;
    stat_.st_mode = mode;
    return StartTemp(kRewriteMode, uid);
}

Status Rewrite::FindLine(const char *pattern, int flags, long &index)
{
    index = -1;
    for (long i = 0; reader_.next(); ++i) {
        bool matched = false;
        if (Status status = MatchLine(reader_.data(), pattern, flags, matched)) {
            return status;
        }
        if (matched) {
            index = i;
            if (!(flags & MATCH_FLAG_LAST)) {
                break;
            }
        }
    }
    if (Status status = reader_.error()) {
        return status;
    }
    return reader_.rewind();
}

Status Rewrite::SeparateFromLastLine() { return reader_.lastLineUnterminated() ? out_.Write("\n") : kOk; }

Status Rewrite::Commit()
{
    const Ownership owner{stat_.st_uid, stat_.st_gid, stat_.st_mode};
    // A rewritten file keeps the extended attributes of the one it replaces.
    const int attributesOf = creating_ ? -1 : reader_.fd();
    return CommitTemp(out_, temp_, setOwner_ ? &owner : nullptr, attributesOf, creating_, where_.dirFd());
}

} // namespace velkc
