/* Starting other programs: fork with child-side preparations, exec and wait. */
#ifndef VELKC_PROC_H
#define VELKC_PROC_H

#include <velkc/export.h>

/* Child-side preparations, applied in the order RESET_PRIORITY, CLEAR_ENV,
 * CLOSE_LOCKS, NULL_STDIO, CLOSE_FDS, DAEMON, SETSID, CHDIR_ROOT. */
#define FORK_FLAG_NULL_STDIO      0x01
#define FORK_FLAG_CLOSE_LOCKS     0x02
#define FORK_FLAG_CLOSE_FDS       0x04 /* also closes the locks */
#define FORK_FLAG_CLEAR_ENV       0x08
#define FORK_FLAG_CHDIR_ROOT      0x10
#define FORK_FLAG_SETSID          0x20
#define FORK_FLAG_DAEMON          0x40
#define FORK_FLAG_RESET_PRIORITY  0x80
#define EXEC_FLAG_CREDENTIALS     0x100

/* The flags of VELKCExec. */
#define EXEC_FLAGS_DEFAULT 0xBB

VELKC_BEGIN_DECLS

VELKC_API int VELKCProcForkEx(int flags) VELKC_NOEXCEPT;
VELKC_API int VELKCExecl(const char *szPath, int flags, const char *szArg1, ...) VELKC_NOEXCEPT;
VELKC_API int VELKCExec(const char *szPath, const char *szArg1, const char *szArg2,
                        const char *szArg3, const char *szArg4) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_PROC_H */
