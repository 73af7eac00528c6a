// The UNICODE suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *unicode_str_cp_to_utf8_test(void);
TCase *unicode_str_utf8to_cp_test(void);
TCase *unicode_codepage_value_parse_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    unicode_str_cp_to_utf8_test,
    unicode_str_utf8to_cp_test,
    unicode_codepage_value_parse_test,
    nullptr,
};

extern "C" Suite *make_unicode_suite(void) { return BuildSuite("UNICODE", kFactories); }
