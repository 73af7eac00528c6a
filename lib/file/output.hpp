// Output of the configuration-file writers: text gathered in one growing
// buffer, written to a descriptor in large blocks, or kept whole in memory
// for an in-place append that must reach the file in one write.
#pragma once

#include "internal/status.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace velkc {

// A printf format for a key/value line, taking the key, then the value. One
// of plain text around two "%s" (the default "%s=%s\n" among them) is
// printed by copying, any other by snprintf.
class PairFormat {
public:
    // Implicit, so that a writer can hand its format string on as it is.
    PairFormat(const char *format) noexcept;
    const char *text() const noexcept { return format_; }

private:
    friend class Output;
    const char *format_;
    bool plain_;
    bool endsLine_;
    std::string_view before_, between_, after_;
};

class Output {
public:
    // fd < 0 keeps everything in memory (see contents()). With quotaError a
    // write that fails with EDQUOT reports ERR_QUOTA_EXCEEDED.
    explicit Output(int fd = -1, bool quotaError = false) noexcept : fd_(fd), quotaError_(quotaError) {}
    Output(const Output &) = delete;
    // From now on, flushes go to fd.
    void Attach(int fd, bool quotaError) noexcept
    {
        fd_ = fd;
        quotaError_ = quotaError;
    }
    Output &operator=(const Output &) = delete;
    ~Output();

    Status Write(std::string_view text);
    // text and "\n".
    Status Line(std::string_view text);
    // text, and "\n" unless it ends in one already.
    Status Terminated(std::string_view text);
    // One key/value line printed with its format. A format that does not
    // end its line gets a "\n", so that the next line is never glued to the
    // pair.
    Status Pair(const PairFormat &format, const char *key, const char *value)
    {
        return Pair(format, std::string_view(key), std::string_view(value));
    }
    // The same for a key and value whose sizes are known: both must be
    // whole C strings, for the formats printed by snprintf.
    Status Pair(const PairFormat &format, std::string_view key, std::string_view value);
    // Appends the bytes [begin, end) of the file open on fd, read at their
    // offsets, straight into the buffer (ERR_READ_FAILED, also when the
    // file ends before end).
    Status Copy(int fd, std::uint64_t begin, std::uint64_t end);
    // Writes out what is buffered.
    Status Flush();
    // The code for the write failure that just happened (errno is read).
    Status Error() const noexcept;

    // What was gathered and not yet flushed.
    std::string_view contents() const noexcept { return {buf_, size_}; }

private:
    Status Reserve(std::size_t more);
    // Copies text into the room reserved for it. The parts of a format
    // around a pair are mostly empty or single bytes ("=", "\n"), cheaper
    // stored than handed to memcpy.
    void Put(std::string_view text) noexcept
    {
        if (text.size() > 1) {
            std::memcpy(buf_ + size_, text.data(), text.size());
        } else if (text.size() == 1) {
            buf_[size_] = text.front();
        }
        size_ += text.size();
    }
    // A pair printed by snprintf.
    Status Printed(const char *format, const char *key, const char *value);

    int fd_;
    bool quotaError_;
    char *buf_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// The code for the write failure that just happened (errno is read): with
// quotaError, EDQUOT gives ERR_QUOTA_EXCEEDED.
Status WriteFailure(bool quotaError) noexcept;

// Writes all of text at offset (or at the current position when offset < 0),
// resuming after short writes and EINTR. False with errno set on failure.
bool WriteAll(int fd, std::string_view text, long long offset = -1) noexcept;

} // namespace velkc
