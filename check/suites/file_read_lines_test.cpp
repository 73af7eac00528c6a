// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_read_lines_test(void) { return tcase_create(""); }
