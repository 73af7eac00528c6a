// The PROC suite: registered, with no test cases yet.
#include "../registry.h"

extern "C" Suite *make_proc_suite(void) { return suite_create("PROC"); }
