// UNICODE suite: an empty test case kept as a placeholder.
#include "../kovacore_test.h"

TCase *unicode_str_utf8to_cp_test(void) { return tcase_create(""); }
