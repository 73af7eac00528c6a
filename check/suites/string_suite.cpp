// The STRING suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *string_decode_colon_test(void);
TCase *string_sep_test(void);
TCase *string_sep_pair_test(void);
TCase *string_tok_test(void);
TCase *string_encode_colon_test(void);
TCase *string_case_lower_test(void);
TCase *string_trim_space_test(void);
TCase *string_trim_test(void);
TCase *string_replace_test(void);
TCase *string_delete_test(void);
TCase *string_join_test(void);
TCase *string_cat_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    string_decode_colon_test,
    string_sep_test,
    string_sep_pair_test,
    string_tok_test,
    string_encode_colon_test,
    string_case_lower_test,
    string_trim_space_test,
    string_trim_test,
    string_replace_test,
    string_delete_test,
    string_join_test,
    string_cat_test,
    nullptr,
};

extern "C" Suite *make_string_suite(void) { return BuildSuite("STRING", kFactories); }
