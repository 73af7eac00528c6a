// The rewrite-and-commit path shared by every configuration-file writer.
//
// A writer never edits its target where it lies: it streams the target line
// by line into a temporary file beside it ("<target>.XXXXXX"), deciding what
// becomes of each line, then syncs the temporary file, gives it the target's
// owner, group and permission bits and renames it over the target. Until the
// rename the target is untouched, and the rename replaces it whole. The
// temporary file is removed on every path that does not commit.
//
//   velkc::Rewrite rw(szFile, {.readError = ERR_READ_FAILED});
//   if (velkc::Status s = rw.Start()) return VELKC_FAIL(s);
//   s = rw.CopyLines([&](const velkc::LineReader &line) { return rw.out().Write(line.view()); });
//   ... s = rw.Commit(); ...
//
// The steps set no error record of their own. They return a Status: 0, or
// the code that the calling writer records at its own failure site with
// VELKC_FAIL, so that the record names the writer's source.
#pragma once

#include "internal.hpp"
#include "line_reader.hpp"

#include <velkc/file.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <sys/types.h>

namespace velkc {

// 0 on success, else an error code for the caller to record.
using Status = unsigned int;
inline constexpr Status kOk = ERR_SUCCESS;
// A failure that leaves the record alone: a library function called on the
// way (VELKCFileTempFileOpen, a predicate, VELKCFileHash2File) has recorded
// it already, or the writer reports it without a code.
inline constexpr Status kLeaveRecord = ~0u;

// Records a failed step at the caller's site and gives the writers' -1.
inline int FailWith(Status status, const char *source, int line)
{
    if (status != kLeaveRecord) {
        VELKCErrSetEx(status, source, line);
    }
    return -1;
}

#define VELKC_FAIL(status) velkc::FailWith((status), VELKC_SOURCE, __LINE__)

// Writes to a stream, mapping failures to the write error, or to the quota
// error when the writer tells a full quota apart.
class Output {
public:
    explicit Output(std::FILE *stream = nullptr, bool quotaError = false) noexcept
        : stream_(stream), quotaError_(quotaError)
    {
    }

    Status Write(std::string_view text) const;
    // text and "\n".
    Status Line(std::string_view text) const;
    // text, and "\n" unless it ends in one already.
    Status Terminated(std::string_view text) const;
    // One key/value line printed with a printf format taking the key, then
    // the value. A format that does not end its line gets a "\n", so that the
    // next line is never glued to the pair.
    Status Pair(const char *format, const char *key, const char *value) const;
    // The code for the write failure that just happened (errno is read).
    Status Error() const noexcept;

    std::FILE *stream() const noexcept { return stream_; }

private:
    std::FILE *stream_;
    bool quotaError_;
};

// Makes what was written to a stream durable: fflush and fsync.
Status Sync(const Output &out);

// Sync, then fclose; the stream is closed whatever happens.
Status SyncAndClose(std::FILE *stream);

// Creates path with "w" (error 0x0900) and fills it, then syncs and closes
// it (0x0B00): the writers' path for a target that does not exist yet.
template <typename Fill>
Status CreateFile(const char *path, Fill &&fill)
{
    std::FILE *stream = std::fopen(path, "w");
    if (stream == nullptr) {
        return ERR_OPEN_FAILED;
    }
    UniqueFile owner(stream);
    if (Status status = fill(Output(stream))) {
        return status;
    }
    return SyncAndClose(owner.release());
}

// Opens path into reader (0x0900). When the file does not exist, creates it
// with CreateFile and fill instead and sets created: the no-file path of the
// writers that make a missing file. Only a missing file takes that path, so
// that a file that merely could not be opened is never replaced.
template <typename Fill>
Status OpenOrCreate(LineReader &reader, const char *path, const char *mode, Fill &&fill, bool &created)
{
    created = false;
    if (reader.open(path, mode)) {
        return kOk;
    }
    if (errno != ENOENT) {
        return ERR_OPEN_FAILED;
    }
    created = true;
    return CreateFile(path, fill);
}

struct RewritePolicy {
    // Code for getline failing before the end of the target.
    Status readError = ERR_READ_FAILED;
    // Report write failures with errno EDQUOT as 0x2400.
    bool quotaError = false;
    // Unlink the temporary file only while its stream is open: once it was
    // closed for the rename it stays behind if the rename fails.
    bool keepClosedTemp = false;
};

class Rewrite {
public:
    enum class Target { kOpened, kMissing, kFailed };

    explicit Rewrite(const char *path, RewritePolicy policy = {}) noexcept;
    Rewrite(const Rewrite &) = delete;
    Rewrite &operator=(const Rewrite &) = delete;
    // Closes both files; removes the temporary file unless it was committed.
    ~Rewrite();

    // Opens the target. kMissing only when it does not exist; a directory is
    // kFailed.
    Target OpenTarget(const char *mode = "r");

    // Opens the target, which must exist (0x0900), then Begin: the start of
    // every writer that never creates the file.
    Status Start(const char *mode = "r")
    {
        return OpenTarget(mode) == Target::kOpened ? Begin() : ERR_OPEN_FAILED;
    }

    // Opens the target, or creates it when it does not exist (see the free
    // OpenOrCreate).
    template <typename Fill>
    Status OpenOrCreate(const char *mode, Fill &&fill, bool &created)
    {
        return velkc::OpenOrCreate(reader_, path_, mode, fill, created);
    }

    // fstat of the open target (0x2700); remembers owner, group and mode.
    Status StatTarget();
    // Tells, without reading the lines, whether the target is non-empty and
    // lacks a final "\n", then rewinds: fseek/ftell failing is 0x2600, the
    // read of the last byte 0x0A00.
    Status ProbeLastByte(bool &unterminated);
    // The temporary file beside the target (its error is recorded already).
    Status CreateTemp();
    // StatTarget, then CreateTemp.
    Status Begin();
    // For a target that does not exist: the rewrite starts empty and the
    // result gets these attributes.
    Status BeginWithoutTarget(uid_t uid, gid_t gid, mode_t mode);

    // First pass: the index of the first line that VELKCILineMatch accepts,
    // or of the last with MATCH_FLAG_LAST; -1 when none does. Rewinds after.
    Status FindLine(const char *pattern, int flags, long &index);

    // Hands every line of the target to decide, which writes what the line
    // becomes through out(). Stops at the first failure; a read error is the
    // policy's code.
    template <typename Decide>
    Status CopyLines(Decide &&decide)
    {
        if (reader_.stream() == nullptr) {
            return kOk; // no target: nothing to copy
        }
        while (reader_.next()) {
            if (Status status = decide(static_cast<const LineReader &>(reader_))) {
                return status;
            }
        }
        return reader_.failed() ? policy_.readError : kOk;
    }

    // Copies every line but the one at index, which replace is handed to
    // write what it becomes.
    template <typename Replace>
    Status CopyReplacing(long index, Replace &&replace)
    {
        long i = 0;
        return CopyLines([&](const LineReader &line) { return i++ == index ? replace(line) : out_.Write(line.view()); });
    }

    // Before appending after the copied lines: a "\n" when the last line
    // read has none, so that it is not glued to the new one.
    Status SeparateFromLastLine();

    const Output &out() const noexcept { return out_; }
    LineReader &target() noexcept { return reader_; }

    // fflush, fsync, fchown and fchmod to the remembered attributes, fclose,
    // then rename over the target (0x2800).
    Status Commit();

    // Commits when the copy went well; otherwise passes its failure on.
    Status CommitAfter(Status copied) { return copied != kOk ? copied : Commit(); }

private:
    const char *path_;
    RewritePolicy policy_;
    LineReader reader_;
    char tempName_[4096] = {};
    std::FILE *temp_ = nullptr;
    Output out_;
    bool tempExists_ = false;
    uid_t uid_ = 0;
    gid_t gid_ = 0;
    mode_t mode_ = 0;
};

} // namespace velkc
