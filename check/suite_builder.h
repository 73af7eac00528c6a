// Builds a suite from its table of test-case factories.
#pragma once

#include "kovacore_test.h"

using TCaseFactory = TCase *(*)(void);

// Creates the suite and adds every non-null test case of the null-terminated
// factory table with no time limit. With the file fixture each case gets the
// scratch-file set-up and tear-down. Returns null if the suite can't be made.
Suite *BuildSuite(const char *name, const TCaseFactory *factories, bool withFileFixture = false);
