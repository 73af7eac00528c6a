// kovacore_check: runs the library's Check suites chosen on the command line.
#include "registry.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kMaxVerbose = 3; // CK_VERBOSE
constexpr int kUsageStatus = 255;

} // namespace

extern "C" void usage(void)
{
    std::puts("Usage: kovacore_check");
    std::puts("\t-a:\t\tRun all configured tests.");
    std::puts("\t-s test1,...:\tRun selected configured tests.");
    std::puts("\t-S test1,...:\tSkip selected configured tests.");
    std::puts("\t-v:\t\tAdd verbose output.");
    std::puts("\t-v -v:\tMost verbose output.");
    std::puts("\t-l:\t\tList all configured tests..");
    std::puts("\t-d:\t\tRun nofork mode. For debug.");
    KOVACheckPrintAllTests();
}

// Options act in command-line order, so "-a -S file" runs all but FILE while
// "-S file -a" runs all. The exit status only says whether the command line
// was understood: test failures still exit 0.
int main(int argc, char *argv[])
{
    int nofork = 0;
    int opt;
    while ((opt = getopt(argc, argv, "adls:S:vr")) != -1) {
        switch (opt) {
        case 'a':
            for (KOVACheckTest *row = grgTest; row->name[0] != '\0'; ++row) {
                row->enabled = 1;
            }
            break;
        case 's':
            MarkTests(optarg, 1);
            break;
        case 'S':
            MarkTests(optarg, 0);
            break;
        case 'v':
            ++gVERBOSE;
            break;
        case 'd':
            nofork = 1;
            break;
        case 'l':
            KOVACheckPrintAllTests();
            return kUsageStatus;
        default: // -r, an unknown option or a missing argument
            usage();
            return kUsageStatus;
        }
    }
    if (gVERBOSE > kMaxVerbose) {
        gVERBOSE = kMaxVerbose;
    }
    console_run_all(nofork);
    return 0;
}
