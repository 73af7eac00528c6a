// Buffered output of the configuration-file writers.
#include "output.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace velkc {

namespace {
// Unchanged runs of lines reach the file in blocks of about this size.
constexpr std::size_t kFlushSize = 64 * 1024;
// Text this long goes to the file as it is, after what is buffered.
constexpr std::size_t kDirectSize = 16 * 1024;
} // namespace

Output::~Output() { std::free(buf_); }

Status Output::Reserve(std::size_t more)
{
    if (size_ + more <= capacity_) {
        return kOk;
    }
    std::size_t capacity = capacity_ != 0 ? capacity_ : kFlushSize;
    while (capacity < size_ + more) {
        capacity *= 2;
    }
    char *grown = static_cast<char *>(std::realloc(buf_, capacity));
    if (grown == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    buf_ = grown;
    capacity_ = capacity;
    return kOk;
}

Status Output::Write(std::string_view text)
{
    if (text.empty()) {
        return kOk; // nothing to copy, and the buffer may not exist yet
    }
    if (fd_ >= 0 && text.size() >= kDirectSize) {
        if (Status status = Flush()) {
            return status;
        }
        return WriteAll(fd_, text) ? kOk : Error();
    }
    if (Status status = Reserve(text.size())) {
        return status;
    }
    std::memcpy(buf_ + size_, text.data(), text.size());
    size_ += text.size();
    return fd_ >= 0 && size_ >= kFlushSize ? Flush() : kOk;
}

Status Output::Copy(int fd, std::uint64_t begin, std::uint64_t end)
{
    while (begin < end) {
        const std::size_t chunk = static_cast<std::size_t>(std::min<std::uint64_t>(end - begin, kFlushSize));
        if (Status status = Reserve(chunk)) {
            return status;
        }
        const ssize_t n = ::pread(fd, buf_ + size_, chunk, static_cast<off_t>(begin));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return ERR_READ_FAILED;
        }
        size_ += static_cast<std::size_t>(n);
        begin += static_cast<std::uint64_t>(n);
        if (fd_ >= 0 && size_ >= kFlushSize) {
            if (Status status = Flush()) {
                return status;
            }
        }
    }
    return kOk;
}

Status Output::Line(std::string_view text)
{
    if (Status status = Write(text)) {
        return status;
    }
    return Write("\n");
}

Status Output::Terminated(std::string_view text) { return text.ends_with('\n') ? Write(text) : Line(text); }

PairFormat::PairFormat(const char *format) noexcept : format_(format)
{
    const std::string_view text(format);
    const std::size_t first = text.find('%');
    const std::size_t second = first == std::string_view::npos ? first : text.find('%', first + 1);
    plain_ = second != std::string_view::npos && text.substr(first, 2) == "%s" && text.substr(second, 2) == "%s" &&
             text.find('%', second + 1) == std::string_view::npos;
    if (plain_) {
        before_ = text.substr(0, first);
        between_ = text.substr(first + 2, second - first - 2);
        after_ = text.substr(second + 2);
    }
    endsLine_ = text.ends_with('\n');
}

Status Output::Pair(const PairFormat &format, std::string_view key, std::string_view value)
{
    if (format.plain_) {
        const std::size_t size =
            format.before_.size() + key.size() + format.between_.size() + value.size() + format.after_.size();
        if (Status status = Reserve(size)) {
            return status;
        }
        Put(format.before_);
        Put(key);
        Put(format.between_);
        Put(value);
        Put(format.after_);
    } else if (Status status = Printed(format.format_, key.data(), value.data())) {
        return status;
    }
    if (!format.endsLine_) {
        return Write("\n");
    }
    return fd_ >= 0 && size_ >= kFlushSize ? Flush() : kOk;
}

Status Output::Printed(const char *format, const char *key, const char *value)
{
    // Printed straight into the room left; only a pair that does not fit
    // (with the NUL snprintf always writes) is printed again once there is.
    const std::size_t room = capacity_ - size_;
    const int length = std::snprintf(room != 0 ? buf_ + size_ : nullptr, room, format, key, value);
    if (length < 0) {
        return ERR_WRITE_FAILED;
    }
    const auto needed = static_cast<std::size_t>(length) + 1;
    if (needed > room) {
        if (Status status = Reserve(needed)) {
            return status;
        }
        std::snprintf(buf_ + size_, needed, format, key, value);
    }
    size_ += static_cast<std::size_t>(length);
    return kOk;
}

Status Output::Flush()
{
    if (fd_ < 0 || size_ == 0) {
        return kOk;
    }
    if (!WriteAll(fd_, contents())) {
        return Error();
    }
    size_ = 0;
    return kOk;
}

Status Output::Error() const noexcept { return WriteFailure(quotaError_); }

Status WriteFailure(bool quotaError) noexcept
{
    return quotaError && errno == EDQUOT ? ERR_QUOTA_EXCEEDED : ERR_WRITE_FAILED;
}

bool WriteAll(int fd, std::string_view text, long long offset) noexcept
{
    while (!text.empty()) {
        const ssize_t n = offset < 0 ? ::write(fd, text.data(), text.size())
                                     : ::pwrite(fd, text.data(), text.size(), static_cast<off_t>(offset));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (n == 0) {
            errno = EIO; // no progress: the device takes nothing more
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(n));
        if (offset >= 0) {
            offset += n;
        }
    }
    return true;
}

} // namespace velkc
