// The HASHSET suite.
#include "../registry.h"
#include "../suite_builder.h"

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    nullptr,
};

extern "C" Suite *make_hashset_suite(void) { return BuildSuite("HASHSET", kFactories); }
