// lib/file/line_reader.hpp: streams a configuration file line by line with
// getline into one growing buffer. Shared by every configuration-file
// reader and writer; keep the interface stable.
//
//   velkc::LineReader reader;
//   if (!VELKC_OPEN_READER(reader, szFile)) return -1;
//   while (reader.next()) { use reader.data(), reader.size(), reader.view() }
//   if (reader.failed()) { ... a read error, not the end of the file ... }
//
// LineCopy keeps a scratch copy of a line for VELKCILineKeyMatch, which cuts
// the line it is given.
//
// The reader sets no error record of its own: callers set their code at
// their own failure site (VELKC_OPEN_READER records it with the caller's
// source and line).
#pragma once

#include "internal.hpp"

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace velkc {

class LineReader {
public:
    LineReader() = default;
    // Takes ownership of an already open stream.
    explicit LineReader(std::FILE *stream) noexcept : file_(stream) {}
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;
    ~LineReader();

    // Opens path with mode. False, with errno set, when it can't be opened or
    // names a directory (which fopen accepts but which holds no lines).
    bool open(const char *path, const char *mode = "r");

    // Reads the next line. False at the end of the file or on a read error.
    bool next();

    // The current line, NUL-terminated, its "\n" kept when it has one. The
    // buffer belongs to the reader and may be modified in place up to size().
    char *data() const noexcept { return line_; }
    std::size_t size() const noexcept { return size_; }
    std::string_view view() const noexcept { return {line_, size_}; }

    // After next() returned false: true when reading stopped on an error
    // rather than at the end of the file.
    bool failed() const noexcept { return failed_; }

    // True when the last line read had no "\n" (false for an empty file):
    // something appended after it needs a "\n" first.
    bool lastLineUnterminated() const noexcept { return unterminated_; }

    std::FILE *stream() const noexcept { return file_.get(); }

private:
    UniqueFile file_;
    char *line_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
    bool failed_ = false;
    bool unterminated_ = false;
};

// Opens path for reading into reader; when it cannot be opened, records
// ERR_OPEN_FAILED with the given source and line, those of the calling
// function (see VELKC_OPEN_READER).
bool OpenReader(LineReader &reader, const char *path, const char *source, int line);

#define VELKC_OPEN_READER(reader, path) velkc::OpenReader((reader), (path), VELKC_SOURCE, __LINE__)

// A reusable copy of a line, for predicates that cut their argument in place
// (VELKCILineKeyMatch).
class LineCopy {
public:
    LineCopy() = default;
    LineCopy(const LineCopy &) = delete;
    LineCopy &operator=(const LineCopy &) = delete;
    ~LineCopy();

    // Copies line and a terminating NUL into the buffer, growing it as
    // needed. Null when memory runs out.
    char *assign(std::string_view line);

private:
    char *buf_ = nullptr;
    std::size_t capacity_ = 0;
};

} // namespace velkc
