// The HASHSET suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *hashset_add_test(void);
TCase *hashset_contains_test(void);
TCase *hashset_to_list_test(void);
TCase *hashset_remove_all_test(void);
TCase *hashset_remove_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    hashset_add_test,        hashset_contains_test, hashset_to_list_test,
    hashset_remove_all_test, hashset_remove_test,   nullptr,
};

extern "C" Suite *make_hashset_suite(void) { return BuildSuite("HASHSET", kFactories); }
