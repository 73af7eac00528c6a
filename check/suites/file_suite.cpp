// The FILE suite.
#include "../registry.h"
#include "../suite_builder.h"

TCase *file_add_line_test(void);
TCase *file_add_section_test(void);
TCase *file_check_format_test(void);
TCase *file_enum_section_test(void);
TCase *file_get_key_value_test(void);
TCase *file_get_line_test(void);
TCase *file_get_pair_test(void);
TCase *file_get_section_test(void);
TCase *file_get_section_value_test(void);
TCase *file_modify_section_test(void);
TCase *file_set_key_value_test(void);
TCase *file_set_keys_test(void);
TCase *file_set_line_test(void);
TCase *file_line_comment_test(void);
TCase *file_check_key_value_test(void);
TCase *file_remove_key_test(void);
TCase *file_read_lines_test(void);
TCase *file_add_line_by_key_test(void);
TCase *file_append_key_test(void);
TCase *file_replace_sub_str_test(void);
TCase *file_set_line_by_key_test(void);
TCase *file_get_keys_test(void);

// Test-case factories, in the order the suite runs them.
static const TCaseFactory kFactories[] = {
    file_add_line_test,
    file_add_section_test,
    file_check_format_test,
    file_enum_section_test,
    file_get_key_value_test,
    file_get_line_test,
    file_get_pair_test,
    file_get_section_test,
    file_get_section_value_test,
    file_modify_section_test,
    file_set_key_value_test,
    file_set_keys_test,
    file_set_line_test,
    file_line_comment_test,
    file_check_key_value_test,
    file_remove_key_test,
    file_read_lines_test,
    file_add_line_by_key_test,
    file_append_key_test,
    file_replace_sub_str_test,
    file_set_line_by_key_test,
    file_get_keys_test,
    nullptr,
};

extern "C" Suite *make_file_suite(void) { return BuildSuite("FILE", kFactories, true); }
