// The HASH suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *hash_enum_key_test(void);
TCase *hash_get_value_test(void);
TCase *hash_remove_all_test(void);
TCase *hash_remove_key_test(void);
TCase *hash_set_value_test(void);
TCase *hash_pair_num_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    hash_enum_key_test,
    hash_get_value_test,
    hash_remove_all_test,
    hash_remove_key_test,
    hash_set_value_test,
    hash_pair_num_test,
    nullptr,
};

extern "C" Suite *make_hash_suite(void) { return BuildSuite("HASH", kFactories); }
