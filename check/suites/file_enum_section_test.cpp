// Placeholder: the test case is being written.
#include "../kovacore_test.h"

TCase *file_enum_section_test(void) { return tcase_create(""); }
