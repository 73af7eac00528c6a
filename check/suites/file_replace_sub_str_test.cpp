// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_replace_sub_str_test(void) { return tcase_create(""); }
