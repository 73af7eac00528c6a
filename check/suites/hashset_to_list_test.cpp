// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *hashset_to_list_test(void) { return tcase_create(""); }
