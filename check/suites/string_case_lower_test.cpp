// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *string_case_lower_test(void) { return tcase_create(""); }
