// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_append_key_test(void) { return tcase_create(""); }
