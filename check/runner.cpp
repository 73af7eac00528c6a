// Builds one Check runner from the enabled suites and runs it.
#include "registry.h"

extern "C" {

int gVERBOSE = 1;

int console_run_all(int nofork)
{
    SRunner *runner = nullptr;
    for (const KOVACheckTest *row = grgTest; row->name[0] != '\0'; ++row) {
        if (row->enabled == 0 || row->factory == nullptr) {
            continue;
        }
        Suite *suite = row->factory();
        if (runner == nullptr) {
            runner = srunner_create(suite);
        } else {
            srunner_add_suite(runner, suite);
        }
    }
    if (runner == nullptr) {
        return 0;
    }
    if (nofork != 0) {
        srunner_set_fork_status(runner, CK_NOFORK);
    }
    srunner_run_all(runner, static_cast<print_output>(gVERBOSE));
    const int failed = srunner_ntests_failed(runner);
    srunner_free(runner);
    return failed != 0 ? 1 : 0;
}

} // extern "C"
