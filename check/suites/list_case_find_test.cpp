// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *list_case_find_test(void) { return tcase_create(""); }
