// VELKCExecl: run a program with a null-terminated argument list and wait
// for its exit status.
#include "internal.hpp"

#include <velkc/proc.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

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
        return lib != nullptr
                   ? reinterpret_cast<InitCredentialsFn>(dlsym(lib, "InitCredentialsByExecutable"))
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
// before the fork, as the child must not allocate.
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

// Runs in the child: executes the program. Never returns.
[[noreturn]] void ExecChild(char *const argv[], int flags, InitCredentialsFn initCredentials)
{
    const bool mayRun = !(flags & EXEC_FLAG_CREDENTIALS) || initCredentials == nullptr || initCredentials(argv[0], 1);
    if (mayRun) {
        execv(argv[0], argv);
    }
    _exit(kChildFailure);
}

int WaitExitStatus(pid_t pid)
{
    int status = 0;
    pid_t r;
    while ((r = waitpid(pid, &status, 0)) == -1 && errno == EINTR) {
    }
    if (r == -1) {
        return errno == ECHILD ? 0 : -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

extern "C" int VELKCExecl(const char *szPath, int flags, const char *szArg1, ...) noexcept
{
    // Looked up before the fork: the child must not load libraries.
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
        const pid_t pid = VELKCProcForkEx(flags);
        if (pid == 0) {
            ExecChild(argv.get(), flags, initCredentials);
        }
        result = pid == -1 ? -1 : WaitExitStatus(pid);
    }
    if (result == -1) {
        VELKCErrSetEx(ERR_OPERATION_FAILED, VELKC_SOURCE, kExecFailureLine);
    }
    return result;
}
