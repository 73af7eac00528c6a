// The BDB suite: registered, with no test cases yet.
#include "../registry.h"

extern "C" Suite *make_bdb_suite(void) { return suite_create("BDB"); }
