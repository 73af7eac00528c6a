// A configuration file held in memory for a transaction.
#include "edit_document.hpp"

#include "internal/trim.hpp"
#include "line_model.hpp"
#include "section_scan.hpp"

#include <velkc/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace velkc {

namespace {

constexpr std::size_t kFirstCapacity = 4096;

// A malloc'd, NUL-terminated copy of text.
char *Copy(std::string_view text) noexcept
{
    auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
    if (copy != nullptr) {
        text.copy(copy, text.size());
        copy[text.size()] = '\0';
    }
    return copy;
}

// Pushes text onto a list, which wants a C string.
Status Push(SzList **ppList, std::string_view text)
{
    const MallocPtr<char> item(Copy(text));
    if (!item) {
        return ERR_OUT_OF_MEMORY;
    }
    return VELKCSzListPush(ppList, item.get()) < 0 ? kLeaveRecord : kOk;
}

// The name a header line gives its section, as the section lister reads
// it: between the first "[" and the last "]", blanks inside kept.
std::string_view HeaderName(std::string_view line) noexcept
{
    const std::size_t close = line.rfind(']');
    return line.substr(1, close - 1);
}

} // namespace

EditDocument::~EditDocument()
{
    for (long i = 0; i < count(); ++i) {
        Release(i);
    }
    std::free(lines_);
    std::free(headers_);
}

Status EditDocument::Reserve(std::size_t more)
{
    if (count_ + more <= capacity_) {
        return kOk;
    }
    const std::size_t capacity = std::max({capacity_ * 2, count_ + more, std::size_t{64}});
    auto *headers = static_cast<long *>(std::realloc(headers_, capacity * sizeof(long)));
    if (headers == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    headers_ = headers;
    auto *lines = static_cast<Line *>(std::realloc(lines_, capacity * sizeof(Line)));
    if (lines == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    lines_ = lines;
    capacity_ = capacity;
    return kOk;
}

void EditDocument::MarkHeader(long line, bool header) noexcept
{
    long *const end = headers_ + headerCount_;
    long *at = std::lower_bound(headers_, end, line);
    if (header && (at == end || *at != line)) {
        std::memmove(at + 1, at, static_cast<std::size_t>(end - at) * sizeof(long));
        *at = line;
        ++headerCount_;
    } else if (!header && at != end && *at == line) {
        std::memmove(at, at + 1, static_cast<std::size_t>(end - at - 1) * sizeof(long));
        --headerCount_;
    }
}

void EditDocument::ShiftHeaders(long from, long by) noexcept
{
    for (long *at = std::lower_bound(headers_, headers_ + headerCount_, from); at != headers_ + headerCount_; ++at) {
        *at += by;
    }
}

Status EditDocument::Load(int fd, std::size_t limit)
{
    struct stat st;
    std::size_t capacity = fstat(fd, &st) == 0 ? static_cast<std::size_t>(st.st_size) + 1 : kFirstCapacity;
    if (capacity > limit + 1) {
        return ERR_FILE_TOO_LARGE;
    }
    text_.reset(static_cast<char *>(std::malloc(capacity)));
    std::size_t size = 0;
    for (;;) {
        if (!text_) {
            return ERR_OUT_OF_MEMORY;
        }
        const ssize_t got = read(fd, text_.get() + size, capacity - 1 - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return ERR_READ_FAILED;
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
        if (size == capacity - 1) { // grown since fstat, or no size known
            if (size >= limit) {
                return ERR_FILE_TOO_LARGE;
            }
            capacity = std::min(2 * capacity, limit + 1);
            char *grown = static_cast<char *>(std::realloc(text_.get(), capacity));
            if (grown != nullptr) {
                text_.release();
            }
            text_.reset(grown);
        }
    }
    text_.get()[size] = '\0';
    size_ = size;
    for (std::string_view rest(text_.get(), size); !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size() - 1) + 1;
        if (end > VELKC_FILE_MAX_LINE) {
            return ERR_READ_FAILED;
        }
        if (Status status = Reserve(1)) {
            return status;
        }
        if (StartsSection(rest)) {
            headers_[headerCount_++] = count();
        }
        lines_[count_++] = Line{rest.data(), end, false};
        rest.remove_prefix(end);
    }
    return kOk;
}

EditDocument::Range EditDocument::Find(const char *section) const noexcept
{
    Range range;
    std::size_t h = 0;
    if (section != nullptr) {
        while (h < headerCount_ && !IsHeaderOf(LineAt(headers_[h]), section)) {
            ++h;
        }
        if (h == headerCount_) {
            return range;
        }
        range.begin = headers_[h++];
    }
    range.end = h < headerCount_ ? headers_[h] : count();
    range.found = true;
    return range;
}

FileEnd EditDocument::End() const noexcept
{
    FileEnd end;
    for (long i = std::max(0L, count() - 2); i < count(); ++i) {
        end.Feed(LineAt(i));
    }
    return end;
}

long EditDocument::LastKeyLine(const Range &range, std::string_view key) const noexcept
{
    for (long i = range.end; i-- > range.begin;) {
        const std::string_view line = LineAt(i);
        // Most lines are told apart by their first bytes, before the split.
        const std::size_t start = std::min(line.find_first_not_of(kWhitespace), line.size());
        const std::string_view head = line.substr(start);
        if (!head.starts_with(key) && !head.starts_with('"')) {
            continue;
        }
        const std::optional<PairLine> pair = SplitPair(line);
        if (pair && pair->key == key) {
            return i;
        }
    }
    return -1;
}

KeyScan EditDocument::Scan(const Range &range, std::string_view key) const noexcept
{
    KeyScan scan(key);
    for (long i = range.begin; i < range.end; ++i) {
        scan.Feed(static_cast<Position>(i), static_cast<Position>(i) + 1, LineAt(i));
    }
    return scan;
}

void EditDocument::Value(const char *section, const char *key, std::string_view &value, bool &sectionFound,
                         bool &keyFound) const noexcept
{
    const Range range = Find(section);
    sectionFound = range.found;
    const long at = range.found ? LastKeyLine(range, key) : -1;
    keyFound = at >= 0;
    if (keyFound) {
        const std::string_view line = LineAt(at);
        value = SplitPair(line)->Value(line);
    }
}

Status EditDocument::SetValue(const char *section, const char *key, const char *value)
{
    const Range range = Find(section);
    Output out;
    if (!range.found) {
        NearbyStyle nearby;
        for (long i = 0; i < count(); ++i) {
            nearby.Feed(LineAt(i), false);
        }
        if (Status status = WriteNewSection(out, nearby.style(), End(), section, key, value)) {
            return status;
        }
        return Append(out.contents());
    }
    if (const long at = LastKeyLine(range, key); at >= 0) {
        const std::string_view line = LineAt(at);
        if (Status status = WriteWithValue(out, line, *SplitPair(line), value)) {
            return status;
        }
        return out.contents() == line ? kOk : Replace(at, out.contents());
    }
    const KeyScan scan = Scan(range, key);
    // A section without pairs of its own takes its neighbours' style.
    NearbyStyle nearby;
    if (!scan.style().known()) {
        for (long i = 0; i < range.begin; ++i) {
            nearby.Feed(LineAt(i), false);
        }
        for (long i = range.end; i < count() && !nearby.style().known(); ++i) {
            nearby.Feed(LineAt(i), true);
        }
    }
    const PairStyle style = StyleOfNewPair(section, scan.style(), nearby.style());
    const long at = scan.hasAnchor() ? static_cast<long>(scan.insertAt()) : range.begin;
    if (Status status = WriteNewPair(out, style, End().eol(), key, value, scan.anchorEnd())) {
        return status;
    }
    // After the unterminated last line the pair continues it.
    return at == count() && scan.anchorEnd().unterminated ? Append(out.contents()) : Insert(at, out.contents());
}

Status EditDocument::RemoveKey(const char *section, const char *key, long &removed, bool &sectionFound)
{
    const Range range = Find(section);
    sectionFound = range.found;
    const FileEnd end = End();
    KeyScan scan(key);
    long kept = range.begin;
    for (long i = range.begin; i < range.end; ++i) {
        if (scan.Feed(static_cast<Position>(i), static_cast<Position>(i) + 1, LineAt(i)) == LineRole::kOther) {
            std::swap(lines_[kept++], lines_[i]);
        }
    }
    removed = scan.keyLines();
    const bool removedLast = range.end == count() && kept < range.end;
    // The key's lines now stand at [kept, range.end).
    Erase(kept, range.end);
    if (removedLast) {
        KeepUnterminatedEnd(end);
    }
    return kOk;
}

Status EditDocument::AddSection(const char *name, bool &added)
{
    added = !Find(name).found;
    if (!added) {
        return kOk;
    }
    Output out;
    if (Status status = WriteNewSection(out, PairStyle(), End(), name, nullptr, nullptr)) {
        return status;
    }
    return Append(out.contents());
}

Status EditDocument::RenameSection(const char *name, const char *newName, bool &found, bool &taken)
{
    const Range range = Find(name);
    found = range.found;
    taken = Find(newName).found;
    if (!found || taken) {
        return kOk;
    }
    // The header keeps what follows its "]": blanks and line ending.
    const std::string_view header = LineAt(range.begin);
    Output out;
    for (const std::string_view part :
         {std::string_view("["), std::string_view(newName), header.substr(std::strlen(name) + 1)}) {
        if (Status status = out.Write(part)) {
            return status;
        }
    }
    return Replace(range.begin, out.contents());
}

Status EditDocument::RemoveSection(const char *name, bool &found)
{
    const Range range = Find(name);
    found = range.found;
    if (!found) {
        return kOk;
    }
    // The last section takes the blank lines before it along, so that a
    // section added and removed again leaves the file as it was.
    const bool last = range.end == count();
    const FileEnd end = End();
    long begin = range.begin;
    while (last && begin > 0 && IsBlankLine(LineAt(begin - 1))) {
        --begin;
    }
    Erase(begin, range.end);
    if (last) {
        KeepUnterminatedEnd(end);
    }
    return kOk;
}

Status EditDocument::Sections(SzList **ppList) const
{
    for (std::size_t h = 0; h < headerCount_; ++h) {
        const std::string_view line = LineAt(headers_[h]);
        if (VELKCIFileIsSection(line.data(), static_cast<int>(line.size()))) {
            if (Status status = Push(ppList, HeaderName(line))) {
                return status;
            }
        }
    }
    return kOk;
}

Status EditDocument::Keys(const char *section, SzList **ppList, bool &sectionFound) const
{
    const Range range = Find(section);
    sectionFound = range.found;
    const int before = (*ppList)->nItem;
    for (long i = range.begin; i < range.end; ++i) {
        const std::optional<PairLine> pair = SplitPair(LineAt(i));
        if (!pair) {
            continue;
        }
        bool listed = false;
        for (int j = before; j < (*ppList)->nItem && !listed; ++j) {
            listed = pair->key == (*ppList)->pszItem[j];
        }
        if (!listed) {
            if (Status status = Push(ppList, pair->key)) {
                return status;
            }
        }
    }
    return kOk;
}

Status EditDocument::Write(Output &out) const
{
    // Lines that still stand together in the file as read go out in one.
    std::string_view run;
    bool original = false; // the run lies in the file as read
    for (long i = 0; i < count(); ++i) {
        const Line &line = lines_[i];
        if (original && !line.owned && line.text == run.data() + run.size()) {
            run = std::string_view(run.data(), run.size() + line.size);
            continue;
        }
        if (Status status = out.Write(run)) {
            return status;
        }
        run = line.view();
        original = !line.owned;
    }
    return out.Write(run);
}

Status EditDocument::Insert(long at, std::string_view text)
{
    std::size_t lines = 0;
    for (std::size_t from = 0; from < text.size(); from = std::min(text.find('\n', from), text.size() - 1) + 1) {
        ++lines;
    }
    if (Status status = Reserve(lines)) {
        return status;
    }
    // The copies are made in the room past the end first, so that a failure
    // leaves the document as it was; then they are rotated into place.
    Line *fresh = lines_ + count_;
    std::size_t made = 0;
    for (std::string_view rest = text; !rest.empty(); ++made) {
        const std::size_t end = std::min(rest.find('\n'), rest.size() - 1) + 1;
        char *copy = Copy(rest.substr(0, end));
        if (copy == nullptr) {
            while (made > 0) {
                std::free(const_cast<char *>(fresh[--made].text));
            }
            return ERR_OUT_OF_MEMORY;
        }
        fresh[made] = Line{copy, end, true};
        rest.remove_prefix(end);
    }
    std::rotate(lines_ + at, fresh, fresh + made);
    count_ += made;
    ShiftHeaders(at, static_cast<long>(made));
    for (long line = at; line < at + static_cast<long>(made); ++line) {
        if (StartsSection(LineAt(line))) {
            MarkHeader(line, true);
        }
    }
    changed_ = true;
    return kOk;
}

Status EditDocument::Append(std::string_view text)
{
    if (count() == 0 || LineAt(count() - 1).ends_with('\n')) {
        return Insert(count(), text);
    }
    // What is written after an unterminated last line continues it.
    const long last = count() - 1;
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    Output joined;
    Status status = joined.Write(LineAt(last));
    if (status == kOk) {
        status = joined.Write(text.substr(0, end));
    }
    MallocPtr<char> copy(status == kOk ? Copy(joined.contents()) : nullptr);
    if (status == kOk && !copy) {
        status = ERR_OUT_OF_MEMORY;
    }
    if (status == kOk) {
        status = Insert(count(), text.substr(end));
    }
    if (status == kOk) {
        Release(last);
        lines_[last] = Line{copy.release(), joined.contents().size(), true};
    }
    return status;
}

Status EditDocument::Replace(long at, std::string_view text)
{
    char *copy = Copy(text);
    if (copy == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    const bool wasHeader = StartsSection(LineAt(at));
    Release(at);
    lines_[at] = Line{copy, text.size(), true};
    if (StartsSection(text) != wasHeader) {
        MarkHeader(at, !wasHeader);
    }
    changed_ = true;
    return kOk;
}

void EditDocument::Release(long at) noexcept
{
    if (lines_[at].owned) {
        std::free(const_cast<char *>(lines_[at].text));
    }
}

void EditDocument::Erase(long begin, long end) noexcept
{
    if (begin == end) {
        return;
    }
    for (long i = begin; i < end; ++i) {
        Release(i);
    }
    long *const last = headers_ + headerCount_;
    long *const first = std::lower_bound(headers_, last, begin);
    long *const after = std::lower_bound(first, last, end);
    std::memmove(first, after, static_cast<std::size_t>(last - after) * sizeof(long));
    headerCount_ -= static_cast<std::size_t>(after - first);
    ShiftHeaders(end, begin - end);
    std::memmove(lines_ + begin, lines_ + end, (count_ - static_cast<std::size_t>(end)) * sizeof(Line));
    count_ -= static_cast<std::size_t>(end - begin);
    changed_ = true;
}

void EditDocument::KeepUnterminatedEnd(const FileEnd &old) noexcept
{
    if (old.unterminated && count() > 0) {
        Line &line = lines_[count() - 1];
        line.size -= EndingToDrop(line.view(), old);
    }
}

} // namespace velkc
