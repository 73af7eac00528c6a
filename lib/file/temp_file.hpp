// The temporary file a writer fills beside its target before moving it into
// place.
//
// It is created unnamed (O_TMPFILE) where the file system allows, so that a
// process killed at any moment before the commit leaves nothing behind; it
// gets a name ("<target>.XXXXXX", the target's name shortened when needed to
// fit NAME_MAX) only just before the rename. Elsewhere it is a named file
// from the start. Any name that is left when the object goes away without a
// commit is removed.
#pragma once

#include "internal.hpp"
#include "status.hpp"

#include <climits>
#include <sys/types.h>

namespace velkc {

class TempFile {
public:
    TempFile() = default;
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;
    ~TempFile();

    // Creates the file in the directory dirfd, beside target, with mode (the
    // umask applies). ERR_OPEN_FAILED on failure.
    Status Create(int dirfd, const char *target, mode_t mode);

    int fd() const noexcept { return fd_.get(); }

    // Renames the file (synced by the caller) over the target
    // (ERR_RENAME_FAILED), then closes it.
    Status Replace();
    // Closes the file and links it in under the target's name, which must
    // not exist (ERR_OPEN_FAILED).
    Status LinkNew();

private:
    // Gives the unnamed file its temporary name.
    Status Name();
    // A fresh temporary name in name_.
    void PickName();
    // Moves the named file to the target's name, which must not exist.
    int MoveNamed() noexcept;

    int dirfd_ = -1;
    const char *target_ = nullptr;
    UniqueFd fd_;
    char name_[NAME_MAX + 1] = {};
    bool named_ = false; // name_ exists in the directory and is ours
};

} // namespace velkc
