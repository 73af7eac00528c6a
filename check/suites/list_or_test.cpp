// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *list_or_test(void) { return tcase_create(""); }
