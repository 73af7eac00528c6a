// Copying extended attributes.
#include "attributes.hpp"

#include "internal/internal.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/xattr.h>

namespace velkc {

namespace {

// A malloc'd buffer that grows to what a query asks for.
class Buffer {
public:
    char *data() const noexcept { return data_.get(); }

    bool Reserve(std::size_t size) noexcept
    {
        if (size <= capacity_) {
            return true;
        }
        data_.reset(static_cast<char *>(std::malloc(size)));
        capacity_ = data_ ? size : 0;
        return static_cast<bool>(data_);
    }

    std::size_t capacity() const noexcept { return capacity_; }

private:
    MallocPtr<char> data_;
    std::size_t capacity_ = 0;
};

// Runs query(buffer, capacity) (a list or get call of the xattr family)
// into buf, growing it while the answer does not fit. Sets size to the
// answer's length. failure is the code for an error.
template <typename Query>
Status Ask(Buffer &buf, Query &&query, ssize_t &size, Status failure)
{
    for (;;) {
        size = query(nullptr, 0);
        if (size < 0) {
            return failure;
        }
        if (size == 0) {
            return kOk;
        }
        if (!buf.Reserve(static_cast<std::size_t>(size))) {
            return ERR_OUT_OF_MEMORY;
        }
        size = query(buf.data(), buf.capacity());
        if (size >= 0) {
            return kOk;
        }
        if (errno != ERANGE) { // else it grew meanwhile: ask again
            return failure;
        }
    }
}

// Calls each with every name of a list that flistxattr gave.
template <typename Each>
Status ForEachName(const Buffer &list, ssize_t size, Each &&each)
{
    for (std::string_view names(list.data(), static_cast<std::size_t>(size)); !names.empty();) {
        const char *name = names.data();
        names.remove_prefix(std::min(std::strlen(name) + 1, names.size()));
        if (Status status = each(name)) {
            return status;
        }
    }
    return kOk;
}

bool Listed(const Buffer &list, ssize_t size, const char *name) noexcept
{
    bool found = false;
    ForEachName(list, size, [&](const char *listed) {
        found = found || std::strcmp(listed, name) == 0;
        return kOk;
    });
    return found;
}

// The names of fd's attributes; a file system without them has none.
Status ListNames(int fd, Buffer &names, ssize_t &size, Status failure)
{
    const Status status = Ask(
        names, [fd](char *buf, std::size_t cap) { return flistxattr(fd, buf, cap); }, size, failure);
    if (status == failure && errno == ENOTSUP) {
        size = 0;
        return kOk;
    }
    return status;
}

} // namespace

Status CopyAttributes(int from, int to)
{
    Buffer names;
    ssize_t namesSize = 0;
    if (Status status = ListNames(from, names, namesSize, ERR_READ_FAILED)) {
        return status;
    }
    Buffer present;
    ssize_t presentSize = 0;
    if (Status status = ListNames(to, present, presentSize, ERR_WRITE_FAILED)) {
        return status;
    }
    if (Status status = ForEachName(present, presentSize, [&](const char *name) {
            return Listed(names, namesSize, name) || fremovexattr(to, name) == 0 || errno == ENODATA ? kOk
                                                                                                     : ERR_WRITE_FAILED;
        })) {
        return status;
    }
    Buffer value;
    return ForEachName(names, namesSize, [&](const char *name) {
        ssize_t size = 0;
        if (Status status = Ask(
                value, [&](char *buf, std::size_t cap) { return fgetxattr(from, name, buf, cap); }, size,
                ERR_READ_FAILED)) {
            return status;
        }
        return fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0 ? kOk : ERR_WRITE_FAILED;
    });
}

} // namespace velkc
