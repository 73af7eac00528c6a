// The private fields of the per-thread error record, written by
// VELKCErrSetEx and read by the getters. Not installed.
#pragma once

namespace velkc::error {

// constinit: readers in other sources then load the variables directly,
// without the call that checks for a dynamic initialiser.
extern constinit thread_local const char *tFile;
extern constinit thread_local int tLine;

} // namespace velkc::error
