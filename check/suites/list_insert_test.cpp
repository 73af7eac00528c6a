// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *list_insert_test(void) { return tcase_create(""); }
