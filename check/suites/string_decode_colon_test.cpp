// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *string_decode_colon_test(void) { return tcase_create(""); }
