// The LIST suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *list_case_find_test(void);
TCase *list_find_test(void);
TCase *list_insert_test(void);
TCase *list_remove_test(void);
TCase *list_or_test(void);
TCase *list_and_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    list_case_find_test, list_find_test, list_insert_test, list_remove_test, list_or_test, list_and_test, nullptr,
};

extern "C" Suite *make_list_suite(void) { return BuildSuite("LIST", kFactories); }
