// The line reader shared by the configuration-file functions.
#include "line_reader.hpp"

#include "target.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velkc {

namespace {
constexpr std::size_t kFirstCapacity = 64 * 1024;
// Room for the longest line and the NUL that ends it.
constexpr std::size_t kMaxCapacity = VELKC_FILE_MAX_LINE + 1;
} // namespace

LineReader::~LineReader() { std::free(buf_); }

Status LineReader::open(const char *path)
{
    struct stat st;
    UniqueFd fd;
    if (Status status = OpenRegular(AT_FDCWD, path, O_RDONLY, Links::kFollow, fd, st)) {
        return status;
    }
    attach(std::move(fd));
    return kOk;
}

void LineReader::attach(UniqueFd fd) noexcept
{
    fd_ = std::move(fd);
    bufferOffset_ = 0;
    begin_ = end_ = size_ = 0;
    line_ = nullptr;
    eof_ = unterminated_ = false;
    error_ = kOk;
}

Status LineReader::seek(std::uint64_t offset)
{
    const auto at = static_cast<off_t>(offset);
    if (::lseek(fd_.get(), at, SEEK_SET) != at) {
        return ERR_SEEK_FAILED;
    }
    attach(std::move(fd_));
    bufferOffset_ = offset;
    return kOk;
}

bool LineReader::fill()
{
    // Keep the pending bytes at the front, then grow only if they fill the
    // buffer, so that memory follows the longest line, not the file.
    if (begin_ > 0) {
        std::memmove(buf_, buf_ + begin_, end_ - begin_);
        bufferOffset_ += begin_;
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ + 1 >= capacity_) {
        if (capacity_ >= kMaxCapacity) {
            error_ = ERR_READ_FAILED; // a line longer than the limit
            return false;
        }
        const std::size_t capacity = capacity_ == 0 ? kFirstCapacity : std::min(2 * capacity_, kMaxCapacity);
        char *grown = static_cast<char *>(std::realloc(buf_, capacity));
        if (grown == nullptr) {
            error_ = ERR_OUT_OF_MEMORY;
            return false;
        }
        buf_ = grown;
        capacity_ = capacity;
    }
    for (;;) {
        const ssize_t n = ::read(fd_.get(), buf_ + end_, capacity_ - 1 - end_);
        if (n > 0) {
            end_ += static_cast<std::size_t>(n);
            return true;
        }
        if (n == 0) {
            eof_ = true;
            return false;
        }
        if (errno != EINTR) {
            error_ = ERR_READ_FAILED;
            return false;
        }
    }
}

const char *LineReader::FindNewline(std::size_t from) const noexcept
{
    return from < end_ ? static_cast<const char *>(std::memchr(buf_ + from, '\n', end_ - from)) : nullptr;
}

void LineReader::ReleaseLine() noexcept
{
    if (line_ != nullptr) {
        line_[size_] = saved_; // undo the line's terminator
        line_ = nullptr;
    }
    size_ = 0;
}

// Only the line a match starts in can be a key line of the needle; a match
// that runs on past its "\n" merely yields a line that fails the caller's
// test.
const char *LineReader::RunOfWholeLines(const char *pending, std::size_t count) noexcept
{
    const char *last = static_cast<const char *>(memrchr(pending, '\n', count));
    return last != nullptr ? last + 1 : nullptr;
}

const char *LineReader::RunBefore(const char *pending, std::size_t count, std::string_view needle) noexcept
{
    const char *found = static_cast<const char *>(memmem(pending, count, needle.data(), needle.size()));
    if (found == nullptr) {
        return RunOfWholeLines(pending, count);
    }
    const char *newline = static_cast<const char *>(memrchr(pending, '\n', static_cast<std::size_t>(found - pending)));
    return newline != nullptr ? newline + 1 : pending;
}

const char *LineReader::RunBeforeLineStarting(const char *pending, std::size_t count, char c) noexcept
{
    const char *end = pending + count;
    for (const char *at = pending;
         (at = static_cast<const char *>(std::memchr(at, c, static_cast<std::size_t>(end - at)))); ++at) {
        if (at == pending || at[-1] == '\n') {
            return at;
        }
    }
    return RunOfWholeLines(pending, count);
}

bool LineReader::next()
{
    ReleaseLine();
    if (error_ != kOk) {
        return false;
    }
    std::size_t scanned = begin_;
    const char *newline;
    while ((newline = FindNewline(scanned)) == nullptr) {
        scanned = end_ - begin_; // offset of the unscanned bytes once fill() has moved them
        if (eof_ || !fill()) {
            if (error_ != kOk || begin_ == end_) {
                return false;
            }
            break; // the last line, without "\n"
        }
    }
    const std::size_t stop = newline != nullptr ? static_cast<std::size_t>(newline - buf_) + 1 : end_;
    line_ = buf_ + begin_;
    size_ = stop - begin_;
    saved_ = buf_[stop];
    buf_[stop] = '\0';
    begin_ = stop;
    unterminated_ = newline == nullptr;
    return true;
}

} // namespace velkc
