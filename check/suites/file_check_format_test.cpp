// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_check_format_test(void) { return tcase_create(""); }
