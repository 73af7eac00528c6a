// Fuzzes the section editors, in transactions and streaming. The input is a
// file's text, a NUL byte, then a script of edits: set or remove a key, add,
// rename or remove a section, add a key and remove it again. Each edit is
// applied both to the file and to a model of what the section readers see
// (section -> key -> value); after every change the model must equal what a
// reference reader, written here from the reading rules, finds in the new
// text, and after every commit the library's own section readers must
// agree with it.
#include "fuzz_support.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

// ---------------------------------------------------------------------------
// The reference reader.

constexpr std::string_view kBlanks = " \t\r\n";

// A key or value as the readers give it: blanks trimmed from both ends, then
// one pair of enclosing double quotes.
std::string_view Trim(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    text = text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

// The lines of a text, each with its line ending; the last may lack one.
std::vector<std::string_view> RawLines(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

// The name of a header line, "[name]" followed by white space only; none
// for another line that starts with "[".
std::optional<std::string> HeaderName(std::string_view line)
{
    const std::size_t close = line.rfind(']');
    if (close == std::string_view::npos || close == 0) {
        return std::nullopt;
    }
    for (const char c : line.substr(close + 1)) {
        if (std::isspace(static_cast<unsigned char>(c)) == 0) {
            return std::nullopt;
        }
    }
    return std::string(line.substr(1, close - 1));
}

struct Entry {
    std::string key;
    std::string value; // of the last key line, the one the readers take
    int lines = 0;     // key lines of the key in its section
    long last = -1;    // the last key line's number in the text read; not compared

    bool operator==(const Entry &other) const
    {
        return key == other.key && value == other.value && lines == other.lines;
    }
};

// The lines before the first line that starts with "[", or the lines from
// one such line up to the next.
struct Region {
    std::optional<std::string> name; // none: the first line is no header
    std::vector<Entry> entries;      // in the order the keys first appear

    bool operator==(const Region &other) const { return name == other.name && entries == other.entries; }

    Entry *Find(std::string_view key)
    {
        for (Entry &entry : entries) {
            if (entry.key == key) {
                return &entry;
            }
        }
        return nullptr;
    }
};

struct Doc {
    Region preamble;
    std::vector<Region> regions;

    bool operator==(const Doc &other) const { return preamble == other.preamble && regions == other.regions; }

    // The first section of a name, as the readers and editors find it; the
    // lines before the first section for none.
    Region *Section(const std::optional<std::string> &name)
    {
        if (!name) {
            return &preamble;
        }
        for (Region &region : regions) {
            if (region.name == name) {
                return &region;
            }
        }
        return nullptr;
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const Region &region : regions) {
            if (region.name) {
                names.push_back(*region.name);
            }
        }
        return names;
    }
};

// What the section readers see in a text. Keys that begin with "#" or ";"
// are left out: the readers take a comment line in a section for a pair,
// the editors never write such a key.
Doc Parse(const std::string &text)
{
    Doc doc;
    Region *region = &doc.preamble;
    const std::vector<std::string> lines = fuzz::Lines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        if (line.starts_with('[')) {
            doc.regions.push_back(Region{HeaderName(line), {}});
            region = &doc.regions.back();
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view key = Trim(line.substr(0, equals));
        if (key.empty() || key.front() == '#' || key.front() == ';') {
            continue;
        }
        Entry *entry = region->Find(key);
        if (entry == nullptr) {
            region->entries.push_back(Entry{std::string(key), {}, 0, -1});
            entry = &region->entries.back();
        }
        entry->value = Trim(line.substr(equals + 1));
        ++entry->lines;
        entry->last = static_cast<long>(i);
    }
    return doc;
}

// ---------------------------------------------------------------------------
// The edits and what they do to the model.

bool HasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

// A key the editors write: one line's key, read back as it is.
bool IsWritableKey(std::string_view key)
{
    constexpr std::string_view kSpacing = " \t";
    return !key.empty() && !HasLineBreak(key) && key.find('=') == std::string_view::npos &&
           std::string_view("[#;").find(key.front()) == std::string_view::npos &&
           kSpacing.find(key.front()) == std::string_view::npos &&
           kSpacing.find(key.back()) == std::string_view::npos &&
           !(key.size() >= 2 && key.front() == '"' && key.back() == '"');
}

bool IsCommentKey(std::string_view key) { return key.starts_with('#') || key.starts_with(';'); }

enum Kind { kSet, kRemoveKey, kAddSection, kRenameSection, kRemoveSection, kAddAndRemove, kAbort, kKindCount };

struct Edit {
    Kind kind;
    std::optional<std::string> section; // none: the lines before the first section
    std::string key;
    std::string value; // also the new name of a renamed section

    const char *Section() const { return section ? section->c_str() : nullptr; }
};

// What a call must return, and the error it must record with a result of 0
// (0 for none to check).
struct Outcome {
    int result;
    unsigned error;
    bool anyCount = false; // a removal of a comment key: the model does not count its lines
};

constexpr Outcome kRefused{-1, ERR_BAD_PARAMETERS};

// Applies an edit to the model and tells what the call must return.
Outcome Apply(Doc &doc, const Edit &edit)
{
    Region *region = doc.Section(edit.section);
    switch (edit.kind) {
    case kSet:
    case kAddAndRemove:
        if (!IsWritableKey(edit.key) || HasLineBreak(edit.value) || (edit.section && HasLineBreak(*edit.section))) {
            return kRefused;
        }
        if (region == nullptr) {
            doc.regions.push_back(Region{edit.section, {Entry{edit.key, edit.value, 1, -1}}});
        } else if (Entry *entry = region->Find(edit.key)) {
            entry->value = edit.value;
        } else {
            region->entries.push_back(Entry{edit.key, edit.value, 1, -1});
        }
        return {1, 0};
    case kRemoveKey: {
        if (region == nullptr) {
            return {0, ERR_SECTION_NOT_FOUND};
        }
        Entry *entry = region->Find(edit.key);
        if (entry == nullptr) {
            return {0, IsCommentKey(edit.key) ? 0u : ERR_KEY_NOT_FOUND, IsCommentKey(edit.key)};
        }
        const int lines = entry->lines;
        region->entries.erase(region->entries.begin() + (entry - region->entries.data()));
        return {lines, 0};
    }
    case kAddSection:
        if (!edit.section || HasLineBreak(*edit.section)) {
            return kRefused;
        }
        if (region != nullptr) {
            return {0, 0};
        }
        doc.regions.push_back(Region{edit.section, {}});
        return {1, 0};
    case kRenameSection:
        if (!edit.section || HasLineBreak(edit.value)) {
            return kRefused;
        }
        if (region == nullptr) {
            return {0, ERR_SECTION_NOT_FOUND};
        }
        if (doc.Section(edit.value) != nullptr) {
            return {0, ERR_KEY_EXISTS};
        }
        region->name = edit.value;
        return {1, 0};
    case kRemoveSection:
        if (!edit.section) {
            return kRefused;
        }
        if (region == nullptr) {
            return {0, ERR_SECTION_NOT_FOUND};
        }
        doc.regions.erase(doc.regions.begin() + (region - doc.regions.data()));
        return {1, 0};
    default:
        return {0, 0};
    }
}

void CheckOutcome(int result, const Outcome &expected)
{
    if (expected.anyCount) {
        FUZZ_CHECK(result >= 0);
        return;
    }
    FUZZ_CHECK(result == expected.result);
    if (result <= 0 && expected.error != 0) {
        FUZZ_CHECK(VELKCErrGet() == expected.error);
    }
}

int CallInTransaction(VELKCFileEdit *pEdit, const Edit &edit)
{
    switch (edit.kind) {
    case kSet:
    case kAddAndRemove:
        return VELKCFileEditSetValue(pEdit, edit.Section(), edit.key.c_str(), edit.value.c_str());
    case kRemoveKey:
        return VELKCFileEditRemoveKey(pEdit, edit.Section(), edit.key.c_str());
    case kAddSection:
        return VELKCFileEditAddSection(pEdit, edit.Section());
    case kRenameSection:
        return VELKCFileEditRenameSection(pEdit, edit.Section(), edit.value.c_str());
    case kRemoveSection:
        return VELKCFileEditRemoveSection(pEdit, edit.Section());
    default:
        return 0;
    }
}

int CallStreaming(const char *file, const Edit &edit)
{
    return edit.kind == kRemoveKey
               ? VELKCFileRemoveSectionKey(file, edit.Section(), edit.key.c_str())
               : VELKCFileSetSectionKeyValue(file, edit.Section(), edit.key.c_str(), edit.value.c_str());
}

// ---------------------------------------------------------------------------
// The script: edits drawn from the bytes after the file's text.

// Pieces of generated keys, values and names: harmless ones first, then
// those that a writer must refuse or that change the lines around them.
constexpr std::string_view kPieces[] = {
    "a", "b", "key", "v 1", "\xc3\xa9", "\xe2\x82\xac", ".",    "/", "]", "\"", " ", "\t", "\\", // harmless
    "=", "[", "#",   ";",   "\r",       "\n",           "\r\n",                                  // hostile
};
constexpr std::size_t kHarmless = 13;

class Script {
public:
    Script(const uint8_t *data, std::size_t size) : data_(data), size_(size) {}

    bool done() const { return at_ >= size_; }
    uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
    std::size_t Pick(std::size_t n) { return n == 0 ? 0 : Byte() % n; }

    // Up to six pieces; one text in four may hold hostile ones.
    std::string Text()
    {
        const uint8_t mode = Byte();
        const std::size_t pieces = (mode & 3) == 0 ? std::size(kPieces) : kHarmless;
        std::string text;
        for (int n = (mode >> 2) % 7; n > 0; --n) {
            text += kPieces[Pick(pieces)];
        }
        return text;
    }

    // Mostly a section the file has, else none or a new name.
    std::optional<std::string> Section(const Doc &doc)
    {
        const std::vector<std::string> names = doc.Names();
        const std::size_t mode = Pick(4);
        if (mode == 0) {
            return std::nullopt;
        }
        if (mode < 3 && !names.empty()) {
            return names[Pick(names.size())];
        }
        return Text();
    }

    // Mostly a key the section has, else a new one.
    std::string Key(Doc &doc, const std::optional<std::string> &section)
    {
        const Region *region = doc.Section(section);
        if (Pick(3) != 0 && region != nullptr && !region->entries.empty()) {
            return region->entries[Pick(region->entries.size())].key;
        }
        return Text();
    }

private:
    const uint8_t *data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

// ---------------------------------------------------------------------------
// The file, its model, and the open transaction.

const test::TempDir &ShmScratch()
{
    // On tmpfs a commit's syncs cost nothing. Removed at a normal exit; a
    // crash leaves it behind, holding the file as the failing edit left it.
    static const test::TempDir dir(fuzz::fs::is_directory("/dev/shm") ? "/dev/shm" : fuzz::fs::temp_directory_path());
    return dir;
}

std::string TextOf(VELKCFileEdit *pEdit, bool original)
{
    char *text = nullptr;
    const int size = VELKCFileEditGetText(pEdit, original ? 1 : 0, &text);
    FUZZ_CHECK(size >= 0 && text != nullptr);
    const fuzz::MallocPtr owned(text);
    return std::string(text, static_cast<std::size_t>(size));
}

class Session {
public:
    explicit Session(const std::string &text) : path_(ShmScratch() / "conf"), text_(text), model_(Parse(text))
    {
        test::WriteFile(path_, text_);
    }
    ~Session() { VELKCFileEditAbort(edit_); }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    void Run(Script &script)
    {
        for (int n = 0; n < 48 && !script.done(); ++n) {
            const uint8_t op = script.Byte();
            Edit edit{static_cast<Kind>((op & 0x3f) % kKindCount), {}, {}, {}};
            const bool streaming = (op & 0x80) != 0;
            const bool keepOpen = (op & 0x40) != 0;
            if (edit.kind == kAbort) {
                Abort();
                continue;
            }
            edit.section = script.Section(Current());
            // The null section reaches the calls that need a name at times.
            if (!edit.section && edit.kind >= kAddSection && edit.kind <= kRemoveSection && script.Pick(4) != 0) {
                edit.section = script.Text();
            }
            edit.key = edit.kind == kAddAndRemove ? script.Text() : script.Key(Current(), edit.section);
            edit.value = script.Text();
            // A new name that is taken, at times.
            const std::vector<std::string> names = Current().Names();
            if (edit.kind == kRenameSection && !names.empty() && script.Pick(2) == 0) {
                edit.value = names[script.Pick(names.size())];
            }
            if (edit.kind == kAddAndRemove) {
                AddAndRemove(edit, streaming, keepOpen);
            } else if (streaming && (edit.kind == kSet || edit.kind == kRemoveKey)) {
                Streaming(edit);
            } else {
                Change(edit);
                if (!keepOpen) {
                    Commit();
                }
            }
        }
        Commit();
    }

private:
    Doc &Current() { return edit_ != nullptr ? pending_ : model_; }

    void Begin()
    {
        if (edit_ != nullptr) {
            return;
        }
        edit_ = VELKCFileEditOpen(path_.c_str(), EDIT_FLAG_EXISTING);
        FUZZ_CHECK(edit_ != nullptr);
        FUZZ_CHECK(TextOf(edit_, true) == text_);
        pending_ = model_;
        pendingText_ = text_;
    }

    // One change in the open transaction, checked against the model.
    void Change(const Edit &edit)
    {
        Begin();
        const std::string before = pendingText_;
        const Doc read = Parse(before);
        const Outcome expected = Apply(pending_, edit);
        const int result = CallInTransaction(edit_, edit);
        CheckOutcome(result, expected);
        pendingText_ = TextOf(edit_, false);
        FUZZ_CHECK(Parse(pendingText_) == pending_);
        if (result <= 0) {
            // Refused, or nothing there to change.
            FUZZ_CHECK(pendingText_ == before || expected.anyCount);
        }
        if (result == 1 && edit.kind == kSet) {
            CheckOneLineChanged(read, edit, before, pendingText_);
        }
        CheckTransactionReads(edit);
    }

    // Setting a key that is there rewrites its last line alone, and only
    // when the value changes.
    static void CheckOneLineChanged(Doc read, const Edit &edit, const std::string &before, const std::string &after)
    {
        Region *region = read.Section(edit.section);
        const Entry *entry = region != nullptr ? region->Find(edit.key) : nullptr;
        if (entry == nullptr) {
            return;
        }
        const std::vector<std::string_view> old = RawLines(before);
        const std::vector<std::string_view> now = RawLines(after);
        FUZZ_CHECK(old.size() == now.size());
        for (std::size_t i = 0; i < old.size(); ++i) {
            if (static_cast<long>(i) != entry->last) {
                FUZZ_CHECK(old[i] == now[i]);
            }
        }
        const auto at = static_cast<std::size_t>(entry->last);
        FUZZ_CHECK((old[at] != now[at]) == (entry->value != edit.value));
    }

    // The transaction's own readers agree with the model.
    void CheckTransactionReads(const Edit &edit)
    {
        fuzz::OwnedList sections(VELKCSzListAlloc(0));
        FUZZ_CHECK(sections);
        const int nSection = VELKCFileEditGetSections(edit_, sections.address());
        FUZZ_CHECK(nSection == sections->nItem);
        const std::vector<std::string> names = pending_.Names();
        FUZZ_CHECK(static_cast<std::size_t>(sections->nItem) == names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            FUZZ_CHECK(names[i] == sections->pszItem[i]);
        }

        Region *region = pending_.Section(edit.section);
        fuzz::OwnedList keys(VELKCSzListAlloc(0));
        FUZZ_CHECK(keys);
        const int nKey = VELKCFileEditGetKeys(edit_, edit.Section(), keys.address());
        if (region == nullptr) {
            FUZZ_CHECK(nKey == -1 && VELKCErrGet() == ERR_SECTION_NOT_FOUND);
        } else {
            FUZZ_CHECK(nKey == keys->nItem);
            std::vector<std::string> listed;
            for (int i = 0; i < keys->nItem; ++i) {
                if (!IsCommentKey(keys->pszItem[i])) {
                    listed.emplace_back(keys->pszItem[i]);
                }
            }
            FUZZ_CHECK(listed.size() == region->entries.size());
            for (std::size_t i = 0; i < listed.size(); ++i) {
                FUZZ_CHECK(listed[i] == region->entries[i].key);
            }
        }

        if (IsCommentKey(edit.key)) {
            return;
        }
        const Entry *entry = region != nullptr ? region->Find(edit.key) : nullptr;
        const int needed = VELKCFileEditGetValue(edit_, edit.Section(), edit.key.c_str(), nullptr, 0);
        if (entry == nullptr) {
            FUZZ_CHECK(needed == 0);
            FUZZ_CHECK(VELKCErrGet() == (region != nullptr ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND));
            return;
        }
        FUZZ_CHECK(needed == static_cast<int>(entry->value.size()) + 1);
        std::vector<char> value(static_cast<std::size_t>(needed));
        FUZZ_CHECK(VELKCFileEditGetValue(edit_, edit.Section(), edit.key.c_str(), value.data(), needed) == needed);
        FUZZ_CHECK(entry->value == value.data());
    }

    void Commit()
    {
        if (edit_ == nullptr) {
            return;
        }
        const int result = VELKCFileEditCommit(edit_);
        edit_ = nullptr;
        FUZZ_CHECK(result == 0 || result == 1);
        const std::string now = test::ReadFile(path_);
        FUZZ_CHECK(now == pendingText_);
        FUZZ_CHECK(result == 1 || pendingText_ == text_);
        text_ = now;
        model_ = pending_;
        CheckFile();
    }

    void Abort()
    {
        VELKCFileEditAbort(edit_);
        edit_ = nullptr;
        FUZZ_CHECK(test::ReadFile(path_) == text_);
    }

    // A streaming call gives the bytes that the same change in a transaction
    // gives, and what the model expects.
    void Streaming(const Edit &edit)
    {
        Commit();
        Begin();
        Change(edit);
        const std::string expected = pendingText_;
        Abort();

        const std::string before = text_;
        const Doc read = Parse(before);
        const Outcome outcome = Apply(model_, edit);
        const int result = CallStreaming(path_.c_str(), edit);
        CheckOutcome(result, outcome);
        text_ = test::ReadFile(path_);
        FUZZ_CHECK(text_ == expected);
        if (result == 1 && edit.kind == kSet) {
            CheckOneLineChanged(read, edit, before, text_);
        }
        CheckFile();
    }

    // A key set and then removed leaves the file as it was: in one
    // transaction, or in two commits, the removal streaming or not.
    void AddAndRemove(Edit edit, bool streaming, bool together)
    {
        Region *region = Current().Section(edit.section);
        if (region == nullptr || region->Find(edit.key) != nullptr || !IsWritableKey(edit.key) ||
            HasLineBreak(edit.value)) {
            edit.kind = kSet;
            Change(edit);
            Commit();
            return;
        }
        Commit();
        const std::string before = text_;
        edit.kind = kSet;
        Change(edit);
        edit.kind = kRemoveKey;
        if (together) {
            Change(edit);
            FUZZ_CHECK(pendingText_ == before);
            Commit();
        } else if (streaming) {
            Commit();
            Streaming(edit);
        } else {
            Commit();
            Change(edit);
            Commit();
        }
        FUZZ_CHECK(text_ == before);
    }

    // The file holds what the model says, and nothing but it is left in the
    // directory; the section readers read the model's values.
    void CheckFile()
    {
        const std::set<std::string> names = test::ListDir(ShmScratch().path());
        FUZZ_CHECK(names == std::set<std::string>{"conf"});
        FUZZ_CHECK(Parse(text_) == model_);
        std::set<std::string> seen;
        for (const Region &region : model_.regions) {
            if (region.name && seen.insert(*region.name).second) {
                CheckSectionReaders(*region.name, region);
            }
        }
    }

    void CheckSectionReaders(const std::string &name, const Region &region)
    {
        fuzz::OwnedHash pairs(VELKCSzHashAlloc(0));
        FUZZ_CHECK(pairs);
        const int nPair = VELKCFileGetSection(path_.c_str(), name.c_str(), pairs.address());
        FUZZ_CHECK(nPair == VELKCSzHashPairNum(pairs.get()));
        int read = 0;
        for (int i = 0; i < pairs->nSlot; ++i) {
            const SzHashSlot &slot = pairs->rgSlot[i];
            read += slot.pszKey != nullptr && !IsCommentKey(slot.pszKey) ? 1 : 0;
        }
        FUZZ_CHECK(static_cast<std::size_t>(read) == region.entries.size());
        char value[4096];
        for (const Entry &entry : region.entries) {
            const char *got = VELKCSzHashGetValue(pairs.get(), entry.key.c_str());
            FUZZ_CHECK(got != nullptr && entry.value == got);
            FUZZ_CHECK(VELKCFileGetSectionValue(path_.c_str(), name.c_str(), entry.key.c_str(), value, sizeof value) ==
                       0);
            FUZZ_CHECK(entry.value.substr(0, sizeof value - 1) == value);
        }
        // No key line has a key with "=".
        FUZZ_CHECK(VELKCFileGetSectionValue(path_.c_str(), name.c_str(), "absent=", value, sizeof value) == -1);
        FUZZ_CHECK(VELKCErrGet() == (nPair > 0 ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND));
    }

    fuzz::fs::path path_;
    std::string text_; // the file's bytes
    Doc model_;        // what the readers see in them
    VELKCFileEdit *edit_ = nullptr;
    std::string pendingText_; // the open transaction's
    Doc pending_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *nul = static_cast<const uint8_t *>(std::memchr(data, 0, size));
    const std::size_t textSize = nul != nullptr ? static_cast<std::size_t>(nul - data) : size;
    Script script(data + textSize + (nul != nullptr ? 1 : 0), size - textSize - (nul != nullptr ? 1 : 0));
    Session session(std::string(reinterpret_cast<const char *>(data), textSize));
    session.Run(script);
    return 0;
}
