// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *string_delete_test(void) { return tcase_create(""); }
