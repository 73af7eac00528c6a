// The temporary file a writer fills beside its target before moving it into
// place.
//
// It is created unnamed (O_TMPFILE) where the file system allows, so that a
// process killed at any moment before the commit leaves nothing behind; it
// gets a name ("<target>.XXXXXX", the target's name shortened when needed to
// fit NAME_MAX) only just before the rename. Elsewhere it is a named file
// from the start. Any name that is left when the object goes away without a
// commit is removed.
//
// Where another user could move names in the target's directory, a name
// there could be swapped for something else between its making and the
// rename. The name is then made inside a private directory
// ("<target>.XXXXXX/", the writer's own, mode 0700) made beside the target
// for the purpose and removed after the rename, so that what the rename
// moves is always the writer's file.
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"

#include <climits>
#include <sys/stat.h>
#include <sys/types.h>

namespace velkc {

// True when a user other than the writer (and root) could rename or remove
// a name in the directory of status dir, given to a file owned by owner:
// the directory is another user's, or others may write in it and it is not
// sticky or owner is not the writer.
bool OthersMayMoveNames(const struct stat &dir, uid_t owner) noexcept;

class TempFile {
public:
    TempFile() = default;
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;
    ~TempFile();

    // Creates the file in the directory dirfd, beside target, with mode (the
    // umask applies); its names are made in a private directory when
    // privateName is set. ERR_OPEN_FAILED on failure.
    Status Create(int dirfd, const char *target, mode_t mode, bool privateName);

    int fd() const noexcept { return fd_.get(); }

    // Closes the file (synced by the caller) and renames it over the target
    // (ERR_WRITE_FAILED, ERR_RENAME_FAILED). ERR_NOT_DURABLE when the
    // private directory cannot be removed after the rename.
    Status Replace();
    // Moves the file in under the target's name, which must not exist
    // (ERR_OPEN_FAILED), and closes it (ERR_WRITE_FAILED, the new name then
    // removed again).
    Status LinkNew();

private:
    // Gives the unnamed file its temporary name.
    Status Name();
    // Makes the private directory that names are made in.
    Status MakePrivateDir();
    // A fresh "<target>.XXXXXX" in name.
    void PickName(char (&name)[NAME_MAX + 1]) const noexcept;
    // Moves the named file to the target's name, which must not exist.
    int MoveNamed() noexcept;
    // Removes the private directory; false on failure.
    bool RemovePrivateDir() noexcept;
    // The directory where names are made.
    int nameDir() const noexcept { return privateName_ ? privateDir_.get() : dirfd_; }

    int dirfd_ = -1;
    const char *target_ = nullptr;
    UniqueFd fd_;
    char name_[NAME_MAX + 1] = {};
    bool named_ = false; // name_ exists in nameDir() and is ours
    bool privateName_ = false;
    UniqueFd privateDir_;
    char privateDirName_[NAME_MAX + 1] = {};
};

} // namespace velkc
