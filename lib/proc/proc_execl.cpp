// VELKCExecl: run a program with a null-terminated argument list and wait
// for its exit status.
#include "internal/internal.hpp"
#include "internal/report.hpp"
#include "proc_child.hpp"

#include <velkc/proc.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <dlfcn.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// The C library's own name for clone. A thread sanitizer intercepts clone
// as a fork and resets its run-time state in the child, which here would be
// the caller's; this entry is not intercepted.
extern "C" int __clone(int (*fn)(void *), void *stack, int flags, void *arg, ...) noexcept;

namespace {

// The error position of a failed run, fixed so that callers can match it.
constexpr int kExecFailureLine = 96;

// Failure status of the child: the parent sees 255.
constexpr int kChildFailure = -1;

using InitCredentialsFn = bool (*)(const char *, int);

// The platform's credentials set-up, when its library is installed. Without
// it every program may run.
InitCredentialsFn LoadInitCredentials()
{
    static const InitCredentialsFn fn = [] {
        void *lib = dlopen("libkovacredentials.so.6", RTLD_NOW | RTLD_LOCAL);
        return lib != nullptr ? reinterpret_cast<InitCredentialsFn>(dlsym(lib, "InitCredentialsByExecutable"))
                              : nullptr;
    }();
    return fn;
}

// Clears SA_NOCLDWAIT on SIGCHLD for the lifetime of the guard, so that the
// child's status can be collected, and puts it back afterwards.
class ChildWaitGuard {
public:
    ChildWaitGuard()
    {
        struct sigaction action {};
        if (sigaction(SIGCHLD, nullptr, &action) == 0 && (action.sa_flags & SA_NOCLDWAIT)) {
            action.sa_flags &= ~SA_NOCLDWAIT;
            restore_ = sigaction(SIGCHLD, &action, nullptr) == 0;
        }
    }
    ChildWaitGuard(const ChildWaitGuard &) = delete;
    ChildWaitGuard &operator=(const ChildWaitGuard &) = delete;
    ~ChildWaitGuard()
    {
        struct sigaction action {};
        if (restore_ && sigaction(SIGCHLD, nullptr, &action) == 0) {
            action.sa_flags |= SA_NOCLDWAIT;
            sigaction(SIGCHLD, &action, nullptr);
        }
    }

private:
    bool restore_ = false;
};

// The argument vector: the path, then the arguments up to the null. Built
// before the child starts, as it must not allocate.
velkc::MallocPtr<char *> BuildArgv(const char *path, const char *first, va_list args)
{
    va_list count;
    va_copy(count, args);
    size_t nArgs = 0;
    for (const char *arg = first; arg != nullptr; arg = va_arg(count, const char *)) {
        ++nArgs;
    }
    va_end(count);

    velkc::MallocPtr<char *> argv(static_cast<char **>(std::calloc(nArgs + 2, sizeof(char *))));
    if (!argv) {
        return argv;
    }
    char **vector = argv.get();
    vector[0] = const_cast<char *>(path);
    if (nArgs > 0) {
        vector[1] = const_cast<char *>(first);
        for (size_t i = 2; i <= nArgs; ++i) {
            vector[i] = const_cast<char *>(va_arg(args, const char *));
        }
    }
    return argv;
}

// Runs in a forked child: executes the program. Never returns.
[[noreturn]] void ExecChild(char *const argv[], int flags, InitCredentialsFn initCredentials)
{
    const bool mayRun = !(flags & EXEC_FLAG_CREDENTIALS) || initCredentials == nullptr || initCredentials(argv[0], 1);
    if (mayRun) {
        execv(argv[0], argv);
    }
    _exit(kChildFailure);
}

// The forked start: VELKCProcForkEx, then the program in the child.
pid_t ForkAndExec(char *const argv[], int flags, InitCredentialsFn initCredentials)
{
    const pid_t pid = VELKCProcForkEx(flags);
    if (pid == 0) {
        ExecChild(argv, flags, initCredentials);
    }
    return pid;
}

// A fork copies the caller's page tables, which costs in proportion to its
// memory; a child that shares the memory until it execs costs nothing of the
// kind. Two starts still need a fork. A daemon start: the intermediate child
// must fork the grandchild and exit while the grandchild goes on preparing,
// which a child that borrows the caller's memory and suspends the caller
// cannot do. And the platform's credentials set-up: it is outside code that
// may allocate, lock or change the credentials of every thread in the
// memory it runs in, which would be the caller's.
bool NeedsFork(int flags, InitCredentialsFn initCredentials)
{
    return (flags & FORK_FLAG_DAEMON) || ((flags & EXEC_FLAG_CREDENTIALS) && initCredentials != nullptr);
}

// A kernel signal set, as the raw system calls take it.
using KernelSigset = std::uint64_t;

// The kernel's struct sigaction, handler first; all zero is SIG_DFL.
struct KernelSigaction {
    void (*handler)(int);
    unsigned long flags;
    void (*restorer)();
    KernelSigset mask;
};

// Everything the shared-memory child needs, prepared before it starts.
struct SpawnPlan {
    char *const *argv;
    velkc::ChildPlan child;
    KernelSigset callerMask;
};

// The caller's handlers must not run in the child, which has the caller's
// memory but not its stack. Ignored signals stay ignored across the exec.
VELKC_CHILD_CODE void ResetSignalHandlers() noexcept
{
    const KernelSigaction byDefault{};
    for (int sig = 1; sig < NSIG; ++sig) {
        KernelSigaction current{};
        if (syscall(SYS_rt_sigaction, sig, nullptr, &current, sizeof(KernelSigset)) == 0 &&
            current.handler != SIG_DFL && current.handler != SIG_IGN) {
            syscall(SYS_rt_sigaction, sig, &byDefault, nullptr, sizeof(KernelSigset));
        }
    }
}

// Runs in the child, on its own stack in the caller's memory, with every
// signal blocked: the preparations, then the program. Returns only if the
// program cannot run.
VELKC_CHILD_CODE int SpawnedChild(void *arg)
{
    const SpawnPlan &plan = *static_cast<const SpawnPlan *>(arg);
    ResetSignalHandlers();
    velkc::PrepareChild(plan.child, true, nullptr);
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &plan.callerMask, nullptr, sizeof(KernelSigset));
    char *const *envp = plan.child.environment != nullptr ? plan.child.environment : environ;
    syscall(SYS_execve, plan.argv[0], plan.argv, envp);
    return kChildFailure;
}

// The child's stack, mapped before the start.
class ChildStack {
public:
    static constexpr std::size_t kSize = 64 * 1024;
    ChildStack() noexcept
        : base_(mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0))
    {}
    ChildStack(const ChildStack &) = delete;
    ChildStack &operator=(const ChildStack &) = delete;
    ~ChildStack()
    {
        if (*this) {
            munmap(base_, kSize);
        }
    }
    explicit operator bool() const noexcept { return base_ != MAP_FAILED; }
    void *top() const noexcept { return static_cast<char *>(base_) + kSize; } // stacks grow down

private:
    void *base_;
};

// Starts the program in a child that shares the caller's memory until it
// execs; the caller is suspended until then. Returns the child's pid, or -1.
pid_t SpawnAndExec(char *const argv[], int flags)
{
    SpawnPlan plan{argv, {}, 0};
    velkc::MallocPtr<char *> environment;
    if (!velkc::MakeChildPlan(flags, true, plan.child, environment)) {
        return -1;
    }
    const ChildStack stack;
    if (!stack) {
        return -1;
    }
    std::fflush(nullptr); // the caller's buffered output comes before the program's
    // Blocked at the kernel, the C library's own signals included, until the
    // child has reset the handlers.
    const KernelSigset all = ~KernelSigset{0};
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &all, &plan.callerMask, sizeof(KernelSigset));
    const int savedErrno = errno; // the child's failed calls write the caller's errno
    const pid_t pid = __clone(SpawnedChild, stack.top(), CLONE_VM | CLONE_VFORK | SIGCHLD, &plan);
    errno = savedErrno;
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &plan.callerMask, nullptr, sizeof(KernelSigset));
    return pid;
}

int WaitExitStatus(pid_t pid)
{
    int status = 0;
    if (!velkc::WaitForChild(pid, status)) {
        return errno == ECHILD ? 0 : -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

extern "C" int VELKCExecl(const char *szPath, int flags, const char *szArg1, ...) noexcept
{
    // Looked up before the child starts: it must not load libraries.
    const InitCredentialsFn initCredentials = (flags & EXEC_FLAG_CREDENTIALS) ? LoadInitCredentials() : nullptr;
    va_list args;
    va_start(args, szArg1);
    const velkc::MallocPtr<char *> argv = BuildArgv(szPath, szArg1, args);
    va_end(args);
    if (!argv) {
        VELKC_SET_ERR(ERR_OUT_OF_MEMORY);
        return -1;
    }
    int result;
    {
        ChildWaitGuard guard;
        const pid_t pid = NeedsFork(flags, initCredentials) ? ForkAndExec(argv.get(), flags, initCredentials)
                                                            : SpawnAndExec(argv.get(), flags);
        result = pid == -1 ? -1 : WaitExitStatus(pid);
    }
    if (result == -1) {
        VELKCErrSetEx(ERR_OPERATION_FAILED, VELKC_SOURCE, kExecFailureLine);
    }
    return result;
}
