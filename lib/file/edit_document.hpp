// A configuration file held whole in memory for a transaction: its lines,
// read and changed one key or section at a time as the section editors
// change them, and written out in one piece.
#pragma once

#include "internal/internal.hpp"
#include "internal/status.hpp"
#include "output.hpp"
#include "section_scan.hpp"

#include <velkc/list.h>

#include <cstddef>
#include <string_view>

namespace velkc {

class EditDocument {
public:
    EditDocument() = default;
    EditDocument(const EditDocument &) = delete;
    EditDocument &operator=(const EditDocument &) = delete;
    ~EditDocument();

    // Reads the file open on fd, of at most limit bytes (ERR_FILE_TOO_LARGE;
    // ERR_READ_FAILED, also for a line longer than VELKC_FILE_MAX_LINE).
    Status Load(int fd, std::size_t limit);

    // The value of the key of the section (null: the lines before the first
    // section), as the section readers give it; found tells whether the
    // section and the key are there.
    void Value(const char *section, const char *key, std::string_view &value, bool &sectionFound,
               bool &keyFound) const noexcept;
    // Sets the key's value in place, or adds it to the section, or adds the
    // section with it (see VELKCFileSetSectionKeyValue()).
    Status SetValue(const char *section, const char *key, const char *value);
    // Removes the key's lines from the section; removed counts them.
    Status RemoveKey(const char *section, const char *key, long &removed, bool &sectionFound);
    // Adds an empty section at the end unless one of the name exists.
    Status AddSection(const char *name, bool &added);
    // Gives the first section of a name a new one, unless a section of the
    // new name exists (taken).
    Status RenameSection(const char *name, const char *newName, bool &found, bool &taken);
    // Removes the first section of a name, its header and lines.
    Status RemoveSection(const char *name, bool &found);
    // Appends the names of every section header, in file order.
    Status Sections(SzList **ppList) const;
    // Appends the keys of the section in the order they first appear.
    Status Keys(const char *section, SzList **ppList, bool &sectionFound) const;

    bool changed() const noexcept { return changed_; }
    // The file as it was read.
    std::string_view original() const noexcept { return {text_.get(), size_}; }
    Status Write(Output &out) const;

private:
    struct Line {
        const char *text;
        std::size_t size;
        bool owned; // a copy of the document's own, not a part of the file read
        std::string_view view() const noexcept { return {text, size}; }
    };
    // Lines [begin, end) of a section: from its header, or from the first
    // line for the lines before the first section.
    struct Range {
        long begin = 0;
        long end = 0;
        bool found = false;
    };

    Range Find(const char *section) const noexcept;
    // How the document ends now.
    FileEnd End() const noexcept;
    // The section's last line of a key (the one the readers take), or -1.
    long LastKeyLine(const Range &range, std::string_view key) const noexcept;
    // The lines of a section, scanned for a key.
    KeyScan Scan(const Range &range, std::string_view key) const noexcept;
    std::string_view LineAt(long i) const noexcept { return lines_[i].view(); }
    long count() const noexcept { return static_cast<long>(count_); }

    // Each changes the document whole or, on failure, not at all.
    // Inserts the lines of text at index at.
    Status Insert(long at, std::string_view text);
    // Adds text at the end, as a write after the last byte would.
    Status Append(std::string_view text);
    Status Replace(long at, std::string_view text);
    void Erase(long begin, long end) noexcept;
    // Frees the line's text when the document owns it.
    void Release(long at) noexcept;
    // After lines were removed from the end: the new last line loses its
    // line ending when the old last line, as old ended, had none.
    void KeepUnterminatedEnd(const FileEnd &old) noexcept;
    Status Reserve(std::size_t more);
    // The lines that start with "[" (section headers and the lines that
    // end a section) are kept in order, so that a section is found among
    // them: mark or unmark a line, or move the marks from a line on.
    void MarkHeader(long line, bool header) noexcept;
    void ShiftHeaders(long from, long by) noexcept;

    MallocPtr<char> text_; // the file as read
    std::size_t size_ = 0;
    Line *lines_ = nullptr;
    std::size_t count_ = 0;
    std::size_t capacity_ = 0; // of lines_, and of headers_: a header is a line
    long *headers_ = nullptr;
    std::size_t headerCount_ = 0;
    bool changed_ = false;
};

} // namespace velkc
