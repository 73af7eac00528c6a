// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *hash_remove_key_test(void) { return tcase_create(""); }
