/**
 * @file velkc/proc.h
 * @brief Starting other programs: fork with child-side preparations, exec
 * and wait.
 *
 * The preparations a flag set asks for are applied in the child in this
 * order: RESET_PRIORITY, CLEAR_ENV, CLOSE_LOCKS, NULL_STDIO, CLOSE_FDS,
 * DAEMON, SETSID, CHDIR_ROOT. Whatever the flags, a child never keeps the
 * calling thread's lock files open (see VELKCFileLockTableGet()).
 */
#ifndef VELKC_PROC_H
#define VELKC_PROC_H

#include <velkc/export.h>

#define FORK_FLAG_NULL_STDIO 0x01     /**< "/dev/null" on descriptors 0, 1 and 2, if it can be opened. */
#define FORK_FLAG_CLOSE_LOCKS 0x02    /**< Close the lock files of the calling thread's lock table. */
#define FORK_FLAG_CLOSE_FDS 0x04      /**< Close every descriptor from 3 up; implies FORK_FLAG_CLOSE_LOCKS. */
#define FORK_FLAG_CLEAR_ENV 0x08      /**< Keep only PATH in the environment (none if it is unset). */
#define FORK_FLAG_CHDIR_ROOT 0x10     /**< Change the working directory to "/". */
#define FORK_FLAG_SETSID 0x20         /**< Start a new session (setsid()). */
#define FORK_FLAG_DAEMON 0x40         /**< Fork once more: the grandchild goes on, the intermediate child exits. */
#define FORK_FLAG_RESET_PRIORITY 0x80 /**< Set the nice value back to 0. */
#define EXEC_FLAG_CREDENTIALS 0x100   /**< VELKCExecl() only: set up the program's credentials first. */

/**
 * The flags of VELKCExec(): RESET_PRIORITY, SETSID, CHDIR_ROOT, CLEAR_ENV,
 * CLOSE_LOCKS and NULL_STDIO.
 */
#define EXEC_FLAGS_DEFAULT 0xBB

VELKC_BEGIN_DECLS

/**
 * Flushes every stdio stream, forks, and prepares the child as @p flags ask.
 * @param flags  FORK_FLAG_* bits.
 * @return In the child (the grandchild with FORK_FLAG_DAEMON): 0. In the
 *         parent: the child's process id; with FORK_FLAG_DAEMON, 1 once the
 *         intermediate child has exited with status 0 (or was reaped
 *         elsewhere), else -1 without an error recorded. -1 on failure:
 *         ERR_OUT_OF_MEMORY (the reduced environment could not be built),
 *         ERR_FORK_FAILED.
 */
VELKC_API int VELKCProcForkEx(int flags) VELKC_NOEXCEPT;

/**
 * Runs a program and waits for its exit status.
 *
 * The child is prepared as by VELKCProcForkEx() and executes @p szPath with
 * the arguments; the path is not searched in PATH. While the call runs, the
 * SA_NOCLDWAIT flag of SIGCHLD is cleared so that the status can be
 * collected; it is set again afterwards. With EXEC_FLAG_CREDENTIALS the
 * program runs only if the platform's credentials set-up for it succeeds
 * (when the platform provides one).
 * @param szPath  The program; also its argument 0.
 * @param flags   FORK_FLAG_* and EXEC_FLAG_CREDENTIALS bits.
 * @param szArg1  First argument; the arguments end at the first NULL, which
 *                must follow them.
 * @return The exit status, 0 to 255 (255 when the program could not be
 *         run); 0 when the child was reaped elsewhere, and with
 *         FORK_FLAG_DAEMON, which does not wait for the program. -1 on
 *         failure: ERR_OUT_OF_MEMORY (argument vector), ERR_OPERATION_FAILED
 *         (the child could not be started or waited for, or was ended by a
 *         signal).
 */
VELKC_API int VELKCExecl(const char *szPath, int flags, const char *szArg1, ...) VELKC_NOEXCEPT;

/**
 * Runs a program with up to four arguments and the flags
 * EXEC_FLAGS_DEFAULT, and waits: VELKCExecl(szPath, EXEC_FLAGS_DEFAULT,
 * szArg1, szArg2, szArg3, szArg4, NULL).
 * @param szPath  The program.
 * @param szArg1  First argument or NULL; the arguments end at the first NULL.
 * @param szArg2  Second argument or NULL.
 * @param szArg3  Third argument or NULL.
 * @param szArg4  Fourth argument or NULL.
 * @return As VELKCExecl().
 */
VELKC_API int VELKCExec(const char *szPath, const char *szArg1, const char *szArg2, const char *szArg3,
                        const char *szArg4) VELKC_NOEXCEPT;

VELKC_END_DECLS

#endif /* VELKC_PROC_H */
