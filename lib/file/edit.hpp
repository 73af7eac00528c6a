// The state of a transaction (VELKCFileEdit): the writers' lock and the
// target's descriptor, held by the rewrite from the open to the end, and
// the file's lines in memory.
#pragma once

#include "edit_document.hpp"
#include "rewrite.hpp"

#include <velkc/file.h>

struct VELKCFileEdit {
    explicit VELKCFileEdit(const char *path) noexcept : rewrite(path) {}

    velkc::Rewrite rewrite;
    velkc::EditDocument document;
    bool exists = false; // the file was there at the open
};
