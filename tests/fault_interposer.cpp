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

using fault::Io;
using fault::Report;
using fault::Write;

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

ssize_t read(int fd, void *buf, size_t size)
{
    NEXT(read);
    return Io(next, fd, buf, size);
}
ssize_t pread(int fd, void *buf, size_t size, off_t offset)
{
    NEXT(pread);
    return Io(next, fd, buf, size, offset);
}

ssize_t pread64(int fd, void *buf, size_t size, off64_t offset)
{
    NEXT(pread64);
    return Io(next, fd, buf, size, offset);
}

ssize_t write(int fd, const void *buf, size_t size)
{
    NEXT(write);
    return Report(Write(next, fd, buf, size), {.name = "write", .fd = fd});
}

ssize_t pwrite(int fd, const void *buf, size_t size, off_t offset)
{
    NEXT(pwrite);
    return Report(Write(next, fd, buf, size, offset), {.name = "pwrite", .fd = fd});
}

ssize_t pwrite64(int fd, const void *buf, size_t size, off64_t offset)
{
    NEXT(pwrite64);
    return Report(Write(next, fd, buf, size, offset), {.name = "pwrite64", .fd = fd});
}

off_t lseek(int fd, off_t offset, int whence) noexcept
{
    NEXT(lseek);
    return Io(next, fd, offset, whence);
}
int fstat(int fd, struct stat *st) noexcept
{
    NEXT(fstat);
    return Io(next, fd, st);
}
int fstat64(int fd, struct stat64 *st) noexcept
{
    NEXT(fstat64);
    return Io(next, fd, st);
}

int fstatat(int dirfd, const char *path, struct stat *st, int flags) noexcept
{
    NEXT(fstatat);
    return Io(next, dirfd, path, st, flags);
}

int fstatat64(int dirfd, const char *path, struct stat64 *st, int flags) noexcept
{
    NEXT(fstatat64);
    return Io(next, dirfd, path, st, flags);
}

int stat(const char *path, struct stat *st) noexcept
{
    NEXT(stat);
    return Io(next, path, st);
}
int lstat(const char *path, struct stat *st) noexcept
{
    NEXT(lstat);
    return Io(next, path, st);
}
int fsync(int fd)
{
    NEXT(fsync);
    return Report(Io(next, fd), {.name = "fsync", .fd = fd});
}
int fdatasync(int fd)
{
    NEXT(fdatasync);
    return Report(Io(next, fd), {.name = "fdatasync", .fd = fd});
}

int close(int fd)
{
    NEXT(close);
    if (fault::Hit(fault::Kind::kIo, next.name)) {
        next(fd); // a failed close has still released the descriptor
        return fault::Fail();
    }
    return next(fd);
}

int flock(int fd, int operation) noexcept
{
    NEXT(flock);
    return Io(next, fd, operation);
}
int ftruncate(int fd, off_t length) noexcept
{
    NEXT(ftruncate);
    return Report(Io(next, fd, length), {.name = "ftruncate", .fd = fd});
}

int ftruncate64(int fd, off64_t length) noexcept __attribute__((alias("ftruncate")));

int fchown(int fd, uid_t uid, gid_t gid) noexcept
{
    NEXT(fchown);
    return Report(Io(next, fd, uid, gid), {.name = "fchown", .fd = fd});
}
int fchmod(int fd, mode_t mode) noexcept
{
    NEXT(fchmod);
    return Report(Io(next, fd, mode), {.name = "fchmod", .fd = fd});
}

int fsetxattr(int fd, const char *name, const void *value, size_t size, int flags) noexcept
{
    NEXT(fsetxattr);
    return Report(Io(next, fd, name, value, size, flags), {.name = "fsetxattr", .fd = fd});
}

int fremovexattr(int fd, const char *name) noexcept
{
    NEXT(fremovexattr);
    return Report(Io(next, fd, name), {.name = "fremovexattr", .fd = fd});
}

int link(const char *oldpath, const char *newpath) noexcept
{
    NEXT(link);
    return Report(fault::Committed(Io(next, oldpath, newpath), newpath),
                  {.name = "link", .fd = AT_FDCWD, .path = oldpath, .fd2 = AT_FDCWD, .path2 = newpath});
}

int linkat(int olddirfd, const char *oldpath, int newdirfd, const char *newpath, int flags) noexcept
{
    NEXT(linkat);
    return Report(fault::Committed(Io(next, olddirfd, oldpath, newdirfd, newpath, flags), newpath),
                  {.name = "linkat", .fd = olddirfd, .path = oldpath, .fd2 = newdirfd, .path2 = newpath});
}

int rename(const char *oldpath, const char *newpath) noexcept
{
    NEXT(rename);
    return Report(fault::Committed(Io(next, oldpath, newpath), newpath),
                  {.name = "rename", .fd = AT_FDCWD, .path = oldpath, .fd2 = AT_FDCWD, .path2 = newpath});
}

int renameat(int olddirfd, const char *oldpath, int newdirfd, const char *newpath) noexcept
{
    NEXT(renameat);
    return Report(fault::Committed(Io(next, olddirfd, oldpath, newdirfd, newpath), newpath),
                  {.name = "renameat", .fd = olddirfd, .path = oldpath, .fd2 = newdirfd, .path2 = newpath});
}

int renameat2(int olddirfd, const char *oldpath, int newdirfd, const char *newpath, unsigned int flags) noexcept
{
    NEXT(renameat2);
    return Report(fault::Committed(Io(next, olddirfd, oldpath, newdirfd, newpath, flags), newpath),
                  {.name = "renameat2", .fd = olddirfd, .path = oldpath, .fd2 = newdirfd, .path2 = newpath});
}

ssize_t readlinkat(int dirfd, const char *path, char *buf, size_t size) noexcept
{
    NEXT(readlinkat);
    return Io(next, dirfd, path, buf, size);
}

ssize_t flistxattr(int fd, char *list, size_t size) noexcept
{
    NEXT(flistxattr);
    return Io(next, fd, list, size);
}
ssize_t fgetxattr(int fd, const char *name, void *value, size_t size) noexcept
{
    NEXT(fgetxattr);
    return Io(next, fd, name, value, size);
}

int unlink(const char *path) noexcept
{
    NEXT(unlink);
    return Report(Io(next, path), {.name = "unlink", .fd = AT_FDCWD, .path = path});
}
int unlinkat(int dirfd, const char *path, int flags) noexcept
{
    NEXT(unlinkat);
    return Report(Io(next, dirfd, path, flags), {.name = "unlinkat", .fd = dirfd, .path = path});
}

int rmdir(const char *path) noexcept
{
    NEXT(rmdir);
    return Report(Io(next, path), {.name = "rmdir", .fd = AT_FDCWD, .path = path});
}

int mkdir(const char *path, mode_t mode) noexcept
{
    NEXT(mkdir);
    return Report(Io(next, path, mode), {.name = "mkdir", .fd = AT_FDCWD, .path = path});
}

int mkdirat(int dirfd, const char *path, mode_t mode) noexcept
{
    NEXT(mkdirat);
    return Report(Io(next, dirfd, path, mode), {.name = "mkdirat", .fd = dirfd, .path = path});
}

} // extern "C"
#pragma GCC visibility pop
