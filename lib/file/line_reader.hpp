// Streams a configuration file line by line from a descriptor through one
// buffer. Shared by every configuration-file reader and writer.
//
//   velkc::LineReader reader;
//   if (velkc::Status s = reader.open(szFile)) return VELKC_FAIL(s);
//   while (reader.next()) { use reader.data(), reader.size(), reader.view() }
//   if (reader.error()) { ... a read error, not the end of the file ... }
//
// No line may be longer than VELKC_FILE_MAX_LINE bytes ("\n" included): a
// longer one stops the reader with ERR_READ_FAILED, so that a corrupted or
// endless file costs bounded memory. The reader sets no error record of its
// own: callers record error() at their own failure site.
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"
#include "line_model.hpp"

#include <velkc/file.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
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

    // Passes over the lines ahead that do not contain needle, so that next()
    // reads the first that does (or the last line, unfinished, or reports
    // the end or an error). The lines passed over go to each as runs of
    // whole lines, "\n" kept, straight from the buffer; a failure of each
    // stops the skipping and is returned.
    template <typename Each>
    Status skipLinesWithout(std::string_view needle, Each &&each)
    {
        return SkipRuns([needle](const char *pending, std::size_t count) { return RunBefore(pending, count, needle); },
                        each);
    }

    // Reads every line that is left: each line that wants accepts goes to
    // edit, and the others go to each as runs of whole lines, "\n" kept,
    // straight from the buffer, every run before the edited line after it.
    // Each line is scanned once, for its end and its key's end together:
    // wants is handed the ScannedLine, edit its text. Stops at the first
    // failure of edit or each, else returns error().
    template <typename Wants, typename Edit, typename Each>
    Status editLines(Wants &&wants, Edit &&edit, Each &&each)
    {
        ReleaseLine();
        do {
            if (Status status = EditWholeLines(wants, edit, each)) {
                return status;
            }
        } while (!eof_ && fill());
        // What is left is the last line, without "\n", or nothing.
        if (!next()) {
            return error();
        }
        return wants(ScannedLine{view(), KeyEnd(view(), 0)}) ? edit(view()) : each(view());
    }

    // Hands every line that is left to each as runs of whole lines, "\n"
    // kept, straight from the buffer. Stops at the first failure of each,
    // else returns error().
    template <typename Each>
    Status copyLines(Each &&each)
    {
        if (Status status = SkipRuns(&RunOfWholeLines, each)) {
            return status;
        }
        return next() ? each(view()) : error();
    }

    // Passes over the lines ahead that do not start with c, as
    // skipLinesWithout passes over those without a needle.
    template <typename Each>
    Status skipLinesNotStartingWith(char c, Each &&each)
    {
        return SkipRuns(
            [c](const char *pending, std::size_t count) { return RunBeforeLineStarting(pending, count, c); }, each);
    }

    // next(), after passing over the lines that do not contain needle.
    bool nextContaining(std::string_view needle)
    {
        skipLinesWithout(needle, [](std::string_view) { return kOk; });
        return next();
    }

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
    Status rewind() { return seek(0); }
    // Goes on from the line that starts at offset of the file.
    Status seek(std::uint64_t offset);

    // Where in the file the current line starts, and where the bytes not yet
    // handed out start (after the current line, or after what the skip
    // functions passed over).
    std::uint64_t lineOffset() const noexcept { return bufferOffset_ + static_cast<std::uint64_t>(line_ - buf_); }
    std::uint64_t position() const noexcept { return bufferOffset_ + begin_; }

private:
    // Reads more bytes after the pending ones; false at end of file or on
    // an error (error_ set).
    bool fill();
    const char *FindNewline(std::size_t from) const noexcept;
    // Puts back the byte that ends the line handed out last.
    void ReleaseLine() noexcept;

    // Where the whole lines at the start of pending that cannot matter end:
    // before the first line holding needle, else after the last "\n". Null
    // when neither exists.
    static const char *RunBefore(const char *pending, std::size_t count, std::string_view needle) noexcept;

    // After the last "\n" of pending, or null.
    static const char *RunOfWholeLines(const char *pending, std::size_t count) noexcept;

    // The same before the first line that starts with c.
    static const char *RunBeforeLineStarting(const char *pending, std::size_t count, char c) noexcept;

    // editLines over the whole lines in the buffer; an unfinished one stays
    // pending.
    template <typename Wants, typename Edit, typename Each>
    Status EditWholeLines(Wants &wants, Edit &edit, Each &each)
    {
        if (begin_ == end_) {
            return kOk; // nothing pending, maybe not even a buffer
        }
        const char *run = buf_ + begin_; // the lines not yet copied start here
        const char *start = run;
        const char *end = buf_ + end_;
        while (const std::optional<ScannedLine> line = ScanLine(start, end)) {
            start = line->text.data() + line->text.size();
            if (wants(*line)) {
                if (Status status = CopyRun(run, line->text.data(), each)) {
                    return status;
                }
                if (Status status = edit(line->text)) {
                    return status;
                }
                run = start;
            }
        }
        if (start != buf_ + begin_) {
            begin_ = static_cast<std::size_t>(start - buf_);
            unterminated_ = false;
        }
        return CopyRun(run, start, each);
    }

    template <typename Each>
    static Status CopyRun(const char *begin, const char *end, Each &each)
    {
        return begin != end ? each(std::string_view(begin, static_cast<std::size_t>(end - begin))) : kOk;
    }

    // Hands the runs that runBefore marks in the pending bytes to each,
    // reading on while they end in an unfinished line.
    template <typename RunEnd, typename Each>
    Status SkipRuns(RunEnd &&runBefore, Each &&each)
    {
        ReleaseLine();
        for (;;) {
            const char *pending = buf_ + begin_;
            const std::size_t count = end_ - begin_;
            if (const char *stop = count > 0 ? runBefore(pending, count) : nullptr) {
                if (stop == pending) {
                    return kOk; // the next line may match
                }
                const std::size_t size = static_cast<std::size_t>(stop - pending);
                begin_ += size;
                unterminated_ = false;
                if (Status status = each(std::string_view(pending, size))) {
                    return status;
                }
            } else if (eof_ || !fill()) {
                return kOk; // next() reads the last line or reports the end
            }
        }
    }

    UniqueFd fd_;
    std::uint64_t bufferOffset_ = 0; // where in the file buf_[0] stands
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

} // namespace velkc
