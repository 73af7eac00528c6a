// The registry of suites, in the order in which they run and are listed.
#include "registry.h"

#include <cstdio>
#include <cstring>

extern "C" {

KOVACheckTest grgTest[] = {
    {"bdb", make_bdb_suite, 0, 0},         {"crypt", make_crypt_suite, 0, 0},
    {"file", make_file_suite, 0, 0},       {"hash", make_hash_suite, 0, 0},
    {"hashset", make_hashset_suite, 0, 0}, {"list", make_list_suite, 0, 0},
    {"proc", make_proc_suite, 0, 0},       {"string", make_string_suite, 0, 0},
    {"unicode", make_unicode_suite, 0, 0}, {"", nullptr, 0, 0},
};

int MarkTest(const char *name, int enabled)
{
    if (name == nullptr) {
        return -1;
    }
    for (KOVACheckTest *row = grgTest; row->name[0] != '\0'; ++row) {
        if (std::strcmp(row->name, name) == 0) {
            row->enabled = enabled;
            return 0;
        }
    }
    return -1;
}

int MarkTests(char *list, int enabled)
{
    if (list == nullptr) {
        return 0;
    }
    char *save = nullptr;
    for (char *tok = strtok_r(list, ",", &save); tok != nullptr; tok = strtok_r(nullptr, ",", &save)) {
        MarkTest(tok, enabled); // unknown names are ignored on purpose
    }
    return 0;
}

int MarkAllTests(int enabled)
{
    for (KOVACheckTest *row = grgTest; row->name[0] != '\0'; ++row) {
        row->enabled = enabled;
    }
    return 0;
}

void KOVACheckPrintAllTests(void)
{
    std::puts("Configured test suites:");
    for (const KOVACheckTest *row = grgTest; row->name[0] != '\0'; ++row) {
        std::printf("\t%s\n", row->name);
    }
}

} // extern "C"
