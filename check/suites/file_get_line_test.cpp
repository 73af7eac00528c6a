// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_get_line_test(void) { return tcase_create(""); }
