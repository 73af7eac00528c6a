// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *hash_pair_num_test(void) { return tcase_create(""); }
