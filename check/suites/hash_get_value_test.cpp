// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *hash_get_value_test(void) { return tcase_create(""); }
