// The HASH suite.
#include "../registry.h"
#include "../suite_builder.h"

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    nullptr,
};

extern "C" Suite *make_hash_suite(void) { return BuildSuite("HASH", kFactories); }
