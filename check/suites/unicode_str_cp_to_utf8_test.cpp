// UNICODE suite: an empty test case kept as a placeholder.
#include "../kovacore_test.h"

TCase *unicode_str_cp_to_utf8_test(void) { return tcase_create(""); }
