// Builds a suite from its table of test-case factories.
#include "suite_builder.h"

#include "kovacore_test.h"

namespace {

void FileSetup(void) { CreateEmptyTestFile(); }

} // namespace

Suite *BuildSuite(const char *name, const TCaseFactory *factories, bool withFileFixture)
{
    Suite *suite = suite_create(name);
    if (suite == nullptr) {
        return nullptr;
    }
    for (const TCaseFactory *factory = factories; *factory != nullptr; ++factory) {
        TCase *tc = (*factory)();
        if (tc == nullptr) {
            continue;
        }
        if (withFileFixture) {
            tcase_add_checked_fixture(tc, FileSetup, RemoveTestFile);
        }
        suite_add_tcase(suite, tc);
        tcase_set_timeout(tc, 0);
    }
    return suite;
}
