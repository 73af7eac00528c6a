// The CRYPT suite: registered, with no test cases yet.
#include "../registry.h"

extern "C" Suite *make_crypt_suite(void) { return suite_create("CRYPT"); }
