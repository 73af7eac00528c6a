// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *unicode_codepage_value_parse_test(void) { return tcase_create(""); }
