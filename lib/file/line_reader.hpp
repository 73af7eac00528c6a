// Streams a configuration file line by line from a descriptor through one
// buffer. Shared by every configuration-file reader and writer.
//
//   velkc::LineReader reader;
//   if (!VELKC_OPEN_READER(reader, szFile)) return -1;
//   while (reader.next()) { use reader.data(), reader.size(), reader.view() }
//   if (reader.error()) { ... a read error, not the end of the file ... }
//
// No line may be longer than VELKC_FILE_MAX_LINE bytes ("\n" included): a
// longer one stops the reader with ERR_READ_FAILED, so that a corrupted or
// endless file costs bounded memory. The reader sets no error record of its
// own: callers record error() at their own failure site.
#pragma once

#include "status.hpp"

#include <velkc/file.h>

#include <cstddef>
#include <string_view>

namespace velkc {

class LineReader {
public:
    LineReader() = default;
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;
    ~LineReader();

    // Opens a regular file for reading, following symbolic links, without
    // ever blocking: anything else (a directory, FIFO, socket or device) is
    // refused. ERR_OPEN_FAILED when it can't be opened.
    Status open(const char *path);

    // Reads from fd, which the reader owns from now on.
    void attach(UniqueFd fd) noexcept;
    int fd() const noexcept { return fd_.get(); }

    // Reads the next line. False at the end of the file or on an error.
    bool next();

    // The current line, NUL-terminated, its "\n" kept when it has one. The
    // buffer belongs to the reader and may be modified in place up to size().
    char *data() const noexcept { return line_; }
    std::size_t size() const noexcept { return size_; }
    std::string_view view() const noexcept { return {line_, size_}; }

    // After next() returned false: kOk at the end of the file, else why
    // reading stopped (ERR_READ_FAILED, ERR_OUT_OF_MEMORY).
    Status error() const noexcept { return error_; }

    // True when the last line read had no "\n" (false for an empty file):
    // something appended after it needs a "\n" first.
    bool lastLineUnterminated() const noexcept { return unterminated_; }

    // Starts again from the first line (ERR_SEEK_FAILED).
    Status rewind();

private:
    // Reads more bytes after the pending ones; false at end of file or on
    // an error (error_ set).
    bool fill();
    const char *FindNewline(std::size_t from) const noexcept;

    UniqueFd fd_;
    char *buf_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0; // first byte not yet handed out
    std::size_t end_ = 0;   // end of the bytes read
    char saved_ = '\0';     // the byte the current line's NUL replaced
    char *line_ = nullptr;
    std::size_t size_ = 0;
    bool eof_ = false;
    Status error_ = kOk;
    bool unterminated_ = false;
};

// Opens path for reading into reader; when it cannot be opened, records the
// failure with the given source and line, those of the calling function
// (see VELKC_OPEN_READER).
bool OpenReader(LineReader &reader, const char *path, const char *source, int line);

#define VELKC_OPEN_READER(reader, path) velkc::OpenReader((reader), (path), VELKC_SOURCE, __LINE__)

} // namespace velkc
