// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *unicode_str_cp_to_utf8_test(void) { return tcase_create(""); }
