// The rewrite-and-commit path shared by every configuration-file writer.
//
// A writer never edits its target where it lies: it streams the target line
// by line into a temporary file beside it, deciding what becomes of each
// line, gives the temporary file the target's owner, group, permission bits
// and extended attributes, syncs it, renames it over the target and syncs
// the directory. Until the rename the target is untouched, and the rename
// replaces it whole; a power loss at any moment leaves the old file or the
// new one. Writers hold the target's lock from before they read it until
// the rename, so that concurrent writers never lose each other's changes.
//
//   velkc::Rewrite rw(szFile);
//   if (velkc::Status s = rw.Start()) return VELKC_FAIL(s);
//   s = rw.CopyLines([&](const velkc::LineReader &line) { return rw.out().Write(line.view()); });
//   if ((s = rw.CommitAfter(s))) return VELKC_FAIL(s);
//
// Writers that add at the end copy every line and then write the addition.
// A target that does not exist is created through a temporary file too, so
// that a failure never leaves a partial file.
#pragma once

#include "line_reader.hpp"
#include "output.hpp"
#include "target.hpp"
#include "temp_file.hpp"

#include <velkc/file.h>

#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>

namespace velkc {

struct RewritePolicy {
    // Report write failures with errno EDQUOT as ERR_QUOTA_EXCEEDED.
    bool quotaError = false;
};

class Rewrite {
public:
    enum class Target { kOpened, kMissing };

    explicit Rewrite(const char *path, RewritePolicy policy = {}) noexcept : path_(path), policy_(policy) {}
    Rewrite(const Rewrite &) = delete;
    Rewrite &operator=(const Rewrite &) = delete;

    // Opens and locks the target (see WriteTarget::Open). kMissing: the
    // target does not exist.
    Status Open(Target &target);

    // Opens the target, which must exist (ERR_OPEN_FAILED), then Begin: the
    // start of every writer that never creates the file.
    Status Start();

    // Opens the target, then Begin, or BeginCreate when it does not exist:
    // the start of the writers that create a missing file.
    Status StartOrCreate();

    // The temporary file for rewriting the opened target.
    Status Begin();
    // The temporary file for a target that does not exist yet, with the
    // owner and mode that creating it directly would give.
    Status BeginCreate();
    // The same with the given owner and permission bits.
    Status BeginCreate(uid_t uid, gid_t gid, mode_t mode);

    // First pass: the index of the first line that VELKCILineMatch accepts,
    // or of the last with MATCH_FLAG_LAST; -1 when none does. Rewinds after.
    Status FindLine(const char *pattern, int flags, long &index);

    // A first pass: hands every line of the target (none when it is
    // missing) to each, then starts again from the first line.
    template <typename Each>
    Status ReadAhead(Each &&each)
    {
        if (reader_.fd() < 0) {
            return kOk;
        }
        while (reader_.next()) {
            each(reader_.view());
        }
        if (Status status = reader_.error()) {
            return status;
        }
        return reader_.rewind();
    }

    // Hands every line of the target to decide, which writes what the line
    // becomes through out(). Stops at the first failure.
    template <typename Decide>
    Status CopyLines(Decide &&decide)
    {
        return CopySkipping([](auto &) { return kOk; }, decide);
    }

    // The same for a decide that copies every line without needle as it is:
    // those lines reach out() in runs, unseen by decide.
    template <typename Decide>
    Status CopyLinesContaining(std::string_view needle, Decide &&decide)
    {
        return CopySkipping([&](auto &copy) { return reader_.skipLinesWithout(needle, copy); }, decide);
    }

    // Hands every line of the target that wants accepts to edit, which
    // writes what the line becomes through out(); the others are copied as
    // they are (see LineReader::editLines). Stops at the first failure.
    template <typename Wants, typename Edit>
    Status EditLines(Wants &&wants, Edit &&edit)
    {
        if (reader_.fd() < 0) {
            return kOk; // no target: nothing to copy
        }
        return reader_.editLines(wants, edit, [this](std::string_view run) { return out_.Write(run); });
    }

    // Copies every line as it is: the start of the writers that add at the
    // end.
    Status CopyAll()
    {
        if (reader_.fd() < 0) {
            return kOk; // no target: nothing to copy
        }
        return reader_.copyLines([this](std::string_view run) { return out_.Write(run); });
    }

    // Copies every line but the one at index, which replace is handed to
    // write what it becomes.
    template <typename Replace>
    Status CopyReplacing(long index, Replace &&replace)
    {
        long i = 0;
        return CopyLines(
            [&](const LineReader &line) { return i++ == index ? replace(line) : out_.Write(line.view()); });
    }

    // Before appending after the copied lines: a "\n" when the last line
    // read has none, so that it is not glued to the new one.
    Status SeparateFromLastLine();

    Output &out() noexcept { return out_; }
    LineReader &target() noexcept { return reader_; }

    // Moves the temporary file into place with the remembered owner and
    // mode (see CommitTemp).
    Status Commit();

    // Commits when the steps before went well; otherwise passes their
    // failure on.
    Status CommitAfter(Status before) { return before != kOk ? before : Commit(); }

    // Creates the missing target holding text (see BeginCreate).
    Status Create(std::string_view text)
    {
        return CreateWith([&] { return out_.Write(text); });
    }
    // The same holding text and "\n".
    Status CreateLine(std::string_view text)
    {
        return CreateWith([&] { return out_.Line(text); });
    }

private:
    // The temporary file, to become a file of owner's.
    Status StartTemp(mode_t mode, uid_t owner);

    // Copies what skip passes over, hands the other lines to decide.
    template <typename Skip, typename Decide>
    Status CopySkipping(Skip &&skip, Decide &&decide)
    {
        if (reader_.fd() < 0) {
            return kOk; // no target: nothing to copy
        }
        const auto copy = [this](std::string_view run) { return out_.Write(run); };
        for (;;) {
            if (Status status = skip(copy)) {
                return status;
            }
            if (!reader_.next()) {
                return reader_.error();
            }
            if (Status status = decide(static_cast<const LineReader &>(reader_))) {
                return status;
            }
        }
    }

    template <typename Fill>
    Status CreateWith(Fill &&fill)
    {
        if (Status status = BeginCreate()) {
            return status;
        }
        return CommitAfter(fill());
    }

    const char *path_;
    RewritePolicy policy_;
    WriteTarget where_;
    LineReader reader_;
    TempFile temp_;
    Output out_;
    struct stat stat_ = {};
    bool creating_ = false;
    bool setOwner_ = false;
};

} // namespace velkc
