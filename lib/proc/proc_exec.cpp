// VELKCExec: run a program with up to four arguments and the standard
// child preparations, and wait for its exit status.
#include <velkc/proc.h>

extern "C" int VELKCExec(const char *szPath, const char *szArg1, const char *szArg2, const char *szArg3,
                         const char *szArg4) noexcept
{
    // The argument list ends at the first null.
    return VELKCExecl(szPath, EXEC_FLAGS_DEFAULT, szArg1, szArg2, szArg3, szArg4, static_cast<const char *>(nullptr));
}
