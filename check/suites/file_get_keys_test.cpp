// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_get_keys_test(void) { return tcase_create(""); }
