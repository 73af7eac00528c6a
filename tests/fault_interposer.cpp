// The interposed allocation and file system calls (see fault_interposer.hpp).
// Allocations forward to glibc's own entry points, the rest to the next
// definition found by dlsym(RTLD_NEXT), looked up on first use.
#include "fault_interposer.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *ptr, size_t size);
}

namespace fault {

namespace {

struct Armed {
    Kind kind;
    long k;
    int error;
    const char *target;
    Record *record;
};

constinit thread_local Armed armed{Kind::kOff, 0, 0, nullptr, nullptr};
constinit thread_local Observer *observer = nullptr;
// The observer is being called: its own calls pass straight on.
constinit thread_local bool observing = false;

// Counts a call of kind; true when it is the one to fail.
bool Hit(Kind kind, const char *name) noexcept
{
    if (armed.kind != kind || observing) {
        return false;
    }
    Record &record = *armed.record;
    if (++record.calls != armed.k) {
        return false;
    }
    record.failed = name;
    record.failedAfterCommit = record.committed;
    return true;
}

int Fail() noexcept
{
    errno = armed.error;
    return -1;
}

// Passes on the result of a rename or link, noting when it put a file in
// place under the target's name.
int Committed(int result, const char *newpath) noexcept
{
    if (result == 0 && armed.kind != Kind::kOff) {
        const char *slash = std::strrchr(newpath, '/');
        if (std::strcmp(slash != nullptr ? slash + 1 : newpath, armed.target) == 0) {
            armed.record->committed = true;
        }
    }
    return result;
}

// Disarms the thread while it lives: looking up a libc function allocates.
class Pause {
public:
    Pause() noexcept { armed.kind = Kind::kOff; }
    ~Pause() { armed = saved_; }
    Pause(const Pause &) = delete;
    Pause &operator=(const Pause &) = delete;

private:
    Armed saved_ = armed;
};

// The definition this file hides, looked up on first use.
template <typename Fn>
struct Next {
    const char *name;
    Fn fn = nullptr;

    template <typename... Args>
    auto operator()(Args... args) noexcept
    {
        if (fn == nullptr) {
            Pause pause;
            fn = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
        }
        return fn(args...);
    }
};

// A file system call: failed when its turn has come, else forwarded.
template <typename Fn, typename... Args>
auto Io(Next<Fn> &next, Args... args) noexcept
{
    using Result = decltype(next(args...));
    return Hit(Kind::kIo, next.name) ? static_cast<Result>(Fail()) : next(args...);
}

// write and pwrite: may also write only half and return the short count.
template <typename Fn, typename... Rest>
ssize_t Write(Next<Fn> &next, int fd, const void *buf, size_t size, Rest... rest) noexcept
{
    if (size >= 2 && Hit(Kind::kShortWrite, next.name)) {
        return next(fd, buf, size / 2, rest...);
    }
    return Io(next, fd, buf, size, rest...);
}

// Passes on the result of a call, reporting it to the thread's observer
// first; errno is kept for the caller.
template <typename Result>
Result Report(Result result, Call call) noexcept
{
    if (observer != nullptr && !observing) {
        const int error = errno;
        call.result = static_cast<long long>(result);
        observing = true;
        observer->Saw(call);
        observing = false;
        errno = error;
    }
    return result;
}

bool refuseUnnamed = false;

void *NoMemory() noexcept
{
    errno = ENOMEM;
    return nullptr;
}

// The mode argument of the open calls, present only when the flags need it.
mode_t ModeArg(int flags, va_list args) noexcept { return __OPEN_NEEDS_MODE(flags) ? va_arg(args, mode_t) : 0; }

} // namespace

void Arm(Kind kind, long k, int error, const char *target, Record *record) noexcept
{
    *record = Record{};
    armed = Armed{kind, k, error, target, record};
}

void Disarm() noexcept { armed.kind = Kind::kOff; }

void RefuseUnnamedFiles(bool refuse) noexcept { refuseUnnamed = refuse; }

void Observe(Observer *watcher) noexcept { observer = watcher; }

} // namespace fault

// Each definition keeps the libc function it hides in a static Next. Its
// pointer type drops the declaration's nonnull attributes, as intended.
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define NEXT(fn) \
    static fault::Next<decltype(&fn)> next { #fn }

// Definitions that differ only in their arguments and in what an observer
// is told. EXCEPT is the noexcept (or nothing) of libc's declaration, PASS
// Io or Write; the parameters are named as the macros expect: fd, dirfd,
// path, olddirfd, oldpath, newdirfd and newpath.
// A call passed on unreported.
#define QUIET(ret, fn, except, params, ...) \
    ret fn params except                    \
    {                                       \
        NEXT(fn);                           \
        return Io(next, __VA_ARGS__);       \
    }
// A call reported with the descriptor it acts on.
#define ON_FD(ret, fn, except, pass, params, ...)                                      \
    ret fn params except                                                               \
    {                                                                                  \
        NEXT(fn);                                                                      \
        return fault::Report(fault::pass(next, __VA_ARGS__), {.name = #fn, .fd = fd}); \
    }
// A call reported with its directory and path.
#define ON_PATH(fn, params, dir, ...)                                                               \
    int fn params noexcept                                                                          \
    {                                                                                               \
        NEXT(fn);                                                                                   \
        return fault::Report(fault::Io(next, __VA_ARGS__), {.name = #fn, .fd = dir, .path = path}); \
    }
// A rename or link, reported with both paths; one onto the target's name is
// the commit.
#define MOVE(fn, params, olddir, newdir, ...)                                                                \
    int fn params noexcept                                                                                   \
    {                                                                                                        \
        NEXT(fn);                                                                                            \
        return fault::Report(fault::Committed(fault::Io(next, __VA_ARGS__), newpath),                        \
                             {.name = #fn, .fd = olddir, .path = oldpath, .fd2 = newdir, .path2 = newpath}); \
    }

using fault::Io;
using fault::Report;

// Exported, so that they take precedence for the library too.
#pragma GCC visibility push(default)
extern "C" {

void *malloc(size_t size) noexcept
{
    return fault::Hit(fault::Kind::kAlloc, "malloc") ? fault::NoMemory() : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) noexcept
{
    return fault::Hit(fault::Kind::kAlloc, "calloc") ? fault::NoMemory() : __libc_calloc(count, size);
}

void *realloc(void *ptr, size_t size) noexcept
{
    return size != 0 && fault::Hit(fault::Kind::kAlloc, "realloc") ? fault::NoMemory() : __libc_realloc(ptr, size);
}

int open(const char *path, int flags, ...)
{
    NEXT(open);
    va_list args;
    va_start(args, flags);
    const mode_t mode = fault::ModeArg(flags, args);
    va_end(args);
    return Report(Io(next, path, flags, mode), {.name = "open", .fd = AT_FDCWD, .path = path, .flags = flags});
}

int openat(int dirfd, const char *path, int flags, ...)
{
    NEXT(openat);
    if (fault::refuseUnnamed && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list args;
    va_start(args, flags);
    const mode_t mode = fault::ModeArg(flags, args);
    va_end(args);
    return Report(Io(next, dirfd, path, flags, mode), {.name = "openat", .fd = dirfd, .path = path, .flags = flags});
}

// One function each with the above, as in glibc on 64-bit targets.
int open64(const char *path, int flags, ...) __attribute__((alias("open"), nothrow));
int openat64(int dirfd, const char *path, int flags, ...) __attribute__((alias("openat"), nothrow));

int close(int fd)
{
    NEXT(close);
    if (fault::Hit(fault::Kind::kIo, next.name)) {
        next(fd); // a failed close has still released the descriptor
        return fault::Fail();
    }
    return next(fd);
}

QUIET(ssize_t, read, , (int fd, void *buf, size_t size), fd, buf, size)
QUIET(ssize_t, pread, , (int fd, void *buf, size_t size, off_t offset), fd, buf, size, offset)
QUIET(ssize_t, pread64, , (int fd, void *buf, size_t size, off64_t offset), fd, buf, size, offset)
QUIET(off_t, lseek, noexcept, (int fd, off_t offset, int whence), fd, offset, whence)
QUIET(int, fstat, noexcept, (int fd, struct stat *st), fd, st)
QUIET(int, fstat64, noexcept, (int fd, struct stat64 *st), fd, st)
QUIET(int, fstatat, noexcept, (int dirfd, const char *path, struct stat *st, int flags), dirfd, path, st, flags)
QUIET(int, fstatat64, noexcept, (int dirfd, const char *path, struct stat64 *st, int flags), dirfd, path, st, flags)
QUIET(int, stat, noexcept, (const char *path, struct stat *st), path, st)
QUIET(int, lstat, noexcept, (const char *path, struct stat *st), path, st)
QUIET(int, flock, noexcept, (int fd, int operation), fd, operation)
QUIET(ssize_t, readlinkat, noexcept, (int dirfd, const char *path, char *buf, size_t size), dirfd, path, buf, size)
QUIET(ssize_t, flistxattr, noexcept, (int fd, char *list, size_t size), fd, list, size)
QUIET(ssize_t, fgetxattr, noexcept, (int fd, const char *name, void *value, size_t size), fd, name, value, size)

ON_FD(ssize_t, write, , Write, (int fd, const void *buf, size_t size), fd, buf, size)
ON_FD(ssize_t, pwrite, , Write, (int fd, const void *buf, size_t size, off_t offset), fd, buf, size, offset)
ON_FD(ssize_t, pwrite64, , Write, (int fd, const void *buf, size_t size, off64_t offset), fd, buf, size, offset)
ON_FD(int, fsync, , Io, (int fd), fd)
ON_FD(int, fdatasync, , Io, (int fd), fd)
ON_FD(int, ftruncate, noexcept, Io, (int fd, off_t length), fd, length)
int ftruncate64(int fd, off64_t length) noexcept __attribute__((alias("ftruncate")));
ON_FD(int, fchown, noexcept, Io, (int fd, uid_t uid, gid_t gid), fd, uid, gid)
ON_FD(int, fchmod, noexcept, Io, (int fd, mode_t mode), fd, mode)
ON_FD(int, fsetxattr, noexcept, Io, (int fd, const char *name, const void *value, size_t size, int flags), fd, name,
      value, size, flags)
ON_FD(int, fremovexattr, noexcept, Io, (int fd, const char *name), fd, name)

ON_PATH(unlink, (const char *path), AT_FDCWD, path)
ON_PATH(unlinkat, (int dirfd, const char *path, int flags), dirfd, dirfd, path, flags)
ON_PATH(rmdir, (const char *path), AT_FDCWD, path)
ON_PATH(mkdir, (const char *path, mode_t mode), AT_FDCWD, path, mode)
ON_PATH(mkdirat, (int dirfd, const char *path, mode_t mode), dirfd, dirfd, path, mode)

MOVE(link, (const char *oldpath, const char *newpath), AT_FDCWD, AT_FDCWD, oldpath, newpath)
MOVE(linkat, (int olddirfd, const char *oldpath, int newdirfd, const char *newpath, int flags), olddirfd, newdirfd,
     olddirfd, oldpath, newdirfd, newpath, flags)
MOVE(rename, (const char *oldpath, const char *newpath), AT_FDCWD, AT_FDCWD, oldpath, newpath)
MOVE(renameat, (int olddirfd, const char *oldpath, int newdirfd, const char *newpath), olddirfd, newdirfd, olddirfd,
     oldpath, newdirfd, newpath)
MOVE(renameat2, (int olddirfd, const char *oldpath, int newdirfd, const char *newpath, unsigned int flags), olddirfd,
     newdirfd, olddirfd, oldpath, newdirfd, newpath, flags)

} // extern "C"
#pragma GCC visibility pop
