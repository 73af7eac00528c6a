// Owners of malloc'd memory, stdio streams and file descriptors, shared by
// the library's sources. Not installed.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace velkc {

struct FreeDeleter {
    void operator()(void *p) const noexcept { std::free(p); }
};

// Memory from malloc/calloc/realloc, released with free.
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

struct FileCloser {
    void operator()(std::FILE *f) const noexcept { std::fclose(f); }
};

// A stdio stream closed on scope exit. Call release() before an fclose whose
// result matters.
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

// A file descriptor closed on scope exit.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : fd_(fd) {}
    UniqueFd(UniqueFd &&o) noexcept : fd_(o.release()) {}
    UniqueFd &operator=(UniqueFd &&o) noexcept
    {
        if (this != &o) {
            reset(o.release());
        }
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }
    int release() noexcept
    {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1) noexcept
    {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

} // namespace velkc
