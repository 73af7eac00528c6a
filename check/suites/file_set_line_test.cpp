// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_set_line_test(void) { return tcase_create(""); }
