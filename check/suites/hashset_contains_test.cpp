// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *hashset_contains_test(void) { return tcase_create(""); }
