// The rewrite-and-commit path shared by the configuration-file writers.
#include "rewrite.hpp"

#include <cerrno>
#include <sys/stat.h>

namespace velkc {

Status Output::Write(std::string_view text) const
{
    if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size()) {
        return Error();
    }
    return kOk;
}

Status Output::Line(std::string_view text) const
{
    if (Status status = Write(text)) {
        return status;
    }
    return Write("\n");
}

Status Output::Terminated(std::string_view text) const
{
    return text.ends_with('\n') ? Write(text) : Line(text);
}

Status Output::Pair(const char *format, const char *key, const char *value) const
{
    if (std::fprintf(stream_, format, key, value) < 0) {
        return Error();
    }
    return std::string_view(format).ends_with('\n') ? kOk : Write("\n");
}

Status Output::Error() const noexcept
{
    return quotaError_ && errno == EDQUOT ? ERR_QUOTA_EXCEEDED : ERR_WRITE_FAILED;
}

Status Sync(const Output &out)
{
    if (std::fflush(out.stream()) != 0 || fsync(fileno(out.stream())) != 0) {
        return out.Error();
    }
    return kOk;
}

Status SyncAndClose(std::FILE *stream)
{
    UniqueFile owner(stream);
    if (Status status = Sync(Output(stream))) {
        return status;
    }
    return std::fclose(owner.release()) == 0 ? kOk : ERR_WRITE_FAILED;
}

Rewrite::Rewrite(const char *path, RewritePolicy policy) noexcept
    : path_(path), policy_(policy)
{
}

Rewrite::~Rewrite()
{
    if (temp_ != nullptr) {
        std::fclose(temp_);
        unlink(tempName_);
    } else if (tempExists_ && !policy_.keepClosedTemp) {
        unlink(tempName_);
    }
}

Rewrite::Target Rewrite::OpenTarget(const char *mode)
{
    if (reader_.open(path_, mode)) {
        return Target::kOpened;
    }
    return errno == ENOENT ? Target::kMissing : Target::kFailed;
}

Status Rewrite::StatTarget()
{
    // The reader has refused a directory already.
    struct stat st;
    if (fstat(fileno(reader_.stream()), &st) != 0) {
        return ERR_STAT_FAILED;
    }
    uid_ = st.st_uid;
    gid_ = st.st_gid;
    mode_ = st.st_mode & 07777; // set-id and sticky bits included
    return kOk;
}

Status Rewrite::ProbeLastByte(bool &unterminated)
{
    std::FILE *stream = reader_.stream();
    unterminated = false;
    if (std::fseek(stream, 0, SEEK_END) != 0) {
        return ERR_SEEK_FAILED;
    }
    const long size = std::ftell(stream);
    if (size < 0) {
        return ERR_SEEK_FAILED;
    }
    if (size > 0) {
        if (std::fseek(stream, -1, SEEK_END) != 0) {
            return ERR_SEEK_FAILED;
        }
        char last;
        if (std::fscanf(stream, "%c", &last) != 1) {
            return ERR_READ_FAILED;
        }
        unterminated = last != '\n';
    }
    return std::fseek(stream, 0, SEEK_SET) == 0 ? kOk : ERR_SEEK_FAILED;
}

Status Rewrite::CreateTemp()
{
    // A path too long for the buffer is cut; mkstemp then refuses the name.
    std::snprintf(tempName_, sizeof tempName_, "%s.XXXXXX", path_);
    temp_ = VELKCFileTempFileOpen(tempName_);
    if (temp_ == nullptr) {
        return kLeaveRecord;
    }
    tempExists_ = true;
    out_ = Output(temp_, policy_.quotaError);
    return kOk;
}

Status Rewrite::Begin()
{
    if (Status status = StatTarget()) {
        return status;
    }
    return CreateTemp();
}

Status Rewrite::BeginWithoutTarget(uid_t uid, gid_t gid, mode_t mode)
{
    uid_ = uid;
    gid_ = gid;
    mode_ = mode;
    return CreateTemp();
}

Status Rewrite::FindLine(const char *pattern, int flags, long &index)
{
    index = -1;
    for (long i = 0; reader_.next(); ++i) {
        if (VELKCILineMatch(reader_.data(), pattern, flags) == 1) {
            index = i;
            if (!(flags & MATCH_FLAG_LAST)) {
                break;
            }
        }
    }
    if (reader_.failed()) {
        return policy_.readError;
    }
    return std::fseek(reader_.stream(), 0, SEEK_SET) == 0 ? kOk : ERR_SEEK_FAILED;
}

Status Rewrite::SeparateFromLastLine()
{
    return reader_.lastLineUnterminated() ? out_.Write("\n") : kOk;
}

Status Rewrite::Commit()
{
    const int fd = fileno(temp_);
    if (Status status = Sync(out_)) {
        return status;
    }
    // fchown clears set-id bits, so the mode is set after it.
    if (fchown(fd, uid_, gid_) != 0 || fchmod(fd, mode_) != 0) {
        return out_.Error();
    }
    std::FILE *stream = temp_;
    temp_ = nullptr; // closed whatever fclose answers
    if (std::fclose(stream) != 0) {
        return out_.Error();
    }
    if (std::rename(tempName_, path_) != 0) {
        return ERR_RENAME_FAILED;
    }
    tempExists_ = false;
    return kOk;
}

} // namespace velkc
