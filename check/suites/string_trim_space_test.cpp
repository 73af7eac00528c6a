// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *string_trim_space_test(void) { return tcase_create(""); }
