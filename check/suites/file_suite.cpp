// The FILE suite.
#include "../registry.h"
#include "../suite_builder.h"

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    nullptr,
};

extern "C" Suite *make_file_suite(void) { return BuildSuite("FILE", kFactories, true); }
