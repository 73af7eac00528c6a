// The registry of named suites and the runner that runs the enabled ones.
#pragma once

#include "kovacore_test.h"

extern "C" {

typedef Suite *(*SuiteFactory)(void);

// One registry row; the table ends with a row whose name is empty.
struct KOVACheckTest {
    char name[32];
    SuiteFactory factory;
    int enabled;
    int reserved;
};

extern KOVACheckTest grgTest[];
extern int gVERBOSE;

int MarkTest(const char *name, int enabled);
int MarkTests(char *list, int enabled);
int MarkAllTests(int enabled);
void KOVACheckPrintAllTests(void);
void usage(void);
int console_run_all(int nofork);

Suite *make_bdb_suite(void);
Suite *make_crypt_suite(void);
Suite *make_file_suite(void);
Suite *make_hash_suite(void);
Suite *make_hashset_suite(void);
Suite *make_list_suite(void);
Suite *make_proc_suite(void);
Suite *make_string_suite(void);
Suite *make_unicode_suite(void);

} // extern "C"
