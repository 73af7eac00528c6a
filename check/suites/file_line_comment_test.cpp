// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_line_comment_test(void) { return tcase_create(""); }
