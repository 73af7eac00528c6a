// Fuzzes the section editors, in transactions and streaming. The input is a
// file's text, a NUL byte, then a script of edits: set or remove a key, add,
// rename or remove a section, add a key and remove it again, abort. Each edit
// is applied both to the file and to a model of what the section readers see;
// after every change the model must equal what a reference reader, written
// here from the reading rules, finds in the new text, and after every commit
// the library's own readers must agree with it.
#include "fuzz_support.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

using Name = std::optional<std::string>; // none: the lines before the first section

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

// A key or value as the readers give it: blanks trimmed from both ends, then
// one pair of enclosing double quotes.
std::string Trim(std::string_view text)
{
    const std::string t = fuzz::TrimBlanks(std::string(text));
    return t.size() >= 2 && t.front() == '"' && t.back() == '"' ? t.substr(1, t.size() - 2) : t;
}

bool HasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }
bool IsCommentKey(std::string_view key) { return key.starts_with('#') || key.starts_with(';'); }

// A key the editors write: one line's key, read back as it is.
bool IsWritableKey(std::string_view key)
{
    return !key.empty() && !HasLineBreak(key) && key.find('=') == std::string_view::npos && !key.starts_with('[') &&
           !IsCommentKey(key) && Trim(key) == key;
}

struct Entry {
    std::string key;
    std::string value; // of the last key line, the one the readers take
    int lines = 0;     // key lines of the key in its region
    long last = -1;    // the last key line's number in the text read; not compared

    bool operator==(const Entry &o) const { return key == o.key && value == o.value && lines == o.lines; }
};

// The lines before the first line that starts with "[", or the lines from
// one such line up to the next; named when that line is "[name]" followed
// by white space only.
struct Region {
    Name name;
    std::vector<Entry> entries; // in the order the keys first appear

    bool operator==(const Region &) const = default;
    Entry *Find(std::string_view key)
    {
        const auto it = std::find_if(entries.begin(), entries.end(), [&](const Entry &e) { return e.key == key; });
        return it != entries.end() ? &*it : nullptr;
    }
};

// The regions of a text, the lines before the first section first.
using Doc = std::vector<Region>;

// The first section of a name, as the readers and editors find it.
Region *Section(Doc &doc, const Name &name)
{
    const auto it = std::find_if(doc.begin() + 1, doc.end(), [&](const Region &r) { return r.name == name; });
    return !name ? &doc[0] : it != doc.end() ? &*it : nullptr;
}

std::vector<std::string> Names(const Doc &doc)
{
    std::vector<std::string> names;
    for (auto region = doc.begin() + 1; region != doc.end(); ++region) {
        if (region->name) {
            names.push_back(*region->name);
        }
    }
    return names;
}

// What the section readers see in a text. Keys that begin with "#" or ";"
// are left out: the readers take a comment line in a section for a pair,
// the editors never write such a key.
Doc Parse(std::string_view text)
{
    Doc doc(1);
    const std::vector<std::string_view> lines = RawLines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        const std::size_t close = line.rfind(']');
        const std::size_t equals = line.find('=');
        if (line.starts_with('[')) {
            const bool named =
                close != std::string_view::npos &&
                std::all_of(line.begin() + close + 1, line.end(), [](unsigned char c) { return std::isspace(c); });
            doc.push_back({named ? Name(line.substr(1, close - 1)) : std::nullopt, {}});
            continue;
        }
        const std::string key = equals != std::string_view::npos ? Trim(line.substr(0, equals)) : "";
        if (key.empty() || IsCommentKey(key)) {
            continue;
        }
        Region &region = doc.back();
        Entry *entry = region.Find(key);
        entry = entry != nullptr ? entry : &region.entries.emplace_back(Entry{key, {}, 0, -1});
        entry->value = Trim(line.substr(equals + 1));
        ++entry->lines;
        entry->last = static_cast<long>(i);
    }
    return doc;
}

enum Kind { kSet, kRemoveKey, kAddSection, kRenameSection, kRemoveSection, kAddAndRemove, kAbort, kKindCount };

struct Edit {
    Kind kind;
    Name section;
    std::string key;
    std::string value; // also the new name of a renamed section

    const char *Section() const { return section ? section->c_str() : nullptr; }
};

// What a call must return, and the error it must record with a result of 0
// or less (0: none to check); any count for the removal of a comment key,
// whose lines the model does not count.
struct Outcome {
    int result;
    unsigned error = 0;
    bool anyCount = false;
};

// Input that would change the lines around it: the editors refuse it.
bool Refused(const Edit &edit)
{
    switch (edit.kind) {
    case kSet:
        return !IsWritableKey(edit.key) || HasLineBreak(edit.value + edit.section.value_or(""));
    case kAddSection:
        return !edit.section || HasLineBreak(*edit.section);
    case kRenameSection:
        return !edit.section || HasLineBreak(edit.value);
    default:
        return edit.kind == kRemoveSection && !edit.section;
    }
}

// Applies a set, a removal or a section edit to the model and tells what the
// call must return.
Outcome Apply(Doc &doc, const Edit &edit)
{
    if (Refused(edit)) {
        return {-1, ERR_BAD_PARAMETERS};
    }
    Region *region = Section(doc, edit.section);
    if (edit.kind == kSet || edit.kind == kAddSection) {
        const bool added = region == nullptr;
        region = added ? &doc.emplace_back(Region{edit.section, {}}) : region;
        if (edit.kind == kAddSection) {
            return {added ? 1 : 0};
        }
        if (Entry *entry = region->Find(edit.key)) {
            entry->value = edit.value;
        } else {
            region->entries.push_back({edit.key, edit.value, 1, -1});
        }
        return {1};
    }
    if (region == nullptr) {
        return {0, ERR_SECTION_NOT_FOUND};
    }
    if (edit.kind == kRenameSection) {
        const bool taken = Section(doc, edit.value) != nullptr;
        region->name = taken ? region->name : edit.value;
        return taken ? Outcome{0, ERR_KEY_EXISTS} : Outcome{1};
    }
    if (edit.kind == kRemoveSection) {
        doc.erase(doc.begin() + (region - doc.data()));
        return {1};
    }
    const Entry *entry = region->Find(edit.key);
    if (entry == nullptr) {
        return {0, IsCommentKey(edit.key) ? 0u : ERR_KEY_NOT_FOUND, IsCommentKey(edit.key)};
    }
    const int lines = entry->lines;
    region->entries.erase(region->entries.begin() + (entry - region->entries.data()));
    return {lines};
}

void CheckOutcome(int result, const Outcome &expected)
{
    FUZZ_CHECK(expected.anyCount ? result >= 0 : result == expected.result);
    FUZZ_CHECK(expected.anyCount || result > 0 || expected.error == 0 || VELKCErrGet() == expected.error);
}

int CallInTransaction(VELKCFileEdit *pEdit, const Edit &edit)
{
    switch (edit.kind) {
    case kSet:
        return VELKCFileEditSetValue(pEdit, edit.Section(), edit.key.c_str(), edit.value.c_str());
    case kRemoveKey:
        return VELKCFileEditRemoveKey(pEdit, edit.Section(), edit.key.c_str());
    case kAddSection:
        return VELKCFileEditAddSection(pEdit, edit.Section());
    case kRenameSection:
        return VELKCFileEditRenameSection(pEdit, edit.Section(), edit.value.c_str());
    default:
        return VELKCFileEditRemoveSection(pEdit, edit.Section());
    }
}

// Pieces of generated keys, values and names: harmless ones first, then
// those that a writer must refuse or that change the lines around them.
constexpr std::string_view kPieces[] = {
    "a", "b", "key", "v 1", "\xc3\xa9", "\xe2\x82\xac", ".",    "/", "]", "\"", " ", "\t", "\\", // harmless
    "=", "[", "#",   ";",   "\r",       "\n",           "\r\n",                                  // hostile
};
constexpr std::size_t kHarmless = 13;

// The edits, drawn from the bytes after the file's text.
struct Script {
    const uint8_t *data;
    std::size_t size;
    std::size_t at = 0;

    bool done() const { return at >= size; }
    uint8_t Byte() { return at < size ? data[at++] : 0; }
    std::size_t Pick(std::size_t n) { return n == 0 ? 0 : Byte() % n; }

    // Up to six pieces; one text in four may hold hostile ones.
    std::string Text()
    {
        const uint8_t mode = Byte();
        std::string text;
        for (int n = (mode >> 2) % 7; n > 0; --n) {
            text += kPieces[Pick((mode & 3) == 0 ? std::size(kPieces) : kHarmless)];
        }
        return text;
    }

    // Mostly a section the file has, else none or a new name.
    Name PickSection(const Doc &doc)
    {
        const std::vector<std::string> names = Names(doc);
        const std::size_t mode = Pick(4);
        return mode == 0 ? Name() : mode < 3 && !names.empty() ? names[Pick(names.size())] : Text();
    }

    // Mostly a key the section has, else a new one.
    std::string PickKey(Doc &doc, const Name &section)
    {
        const Region *region = Section(doc, section);
        const bool known = Pick(3) != 0 && region != nullptr && !region->entries.empty();
        return known ? region->entries[Pick(region->entries.size())].key : Text();
    }
};

// On tmpfs a commit's syncs cost nothing. Removed at a normal exit; a crash
// leaves it behind, holding the file as the failing edit left it.
const test::TempDir &ShmScratch()
{
    static const test::TempDir dir(fuzz::fs::is_directory("/dev/shm") ? "/dev/shm" : fuzz::fs::temp_directory_path());
    return dir;
}

std::string TextOf(VELKCFileEdit *pEdit, int original)
{
    char *text = nullptr;
    const int size = VELKCFileEditGetText(pEdit, original, &text);
    const fuzz::MallocPtr owned(text);
    FUZZ_CHECK(size >= 0 && text != nullptr);
    return {text, static_cast<std::size_t>(size)};
}

std::vector<std::string> Items(const velkc::List &list) { return {list->pszItem, list->pszItem + list->nItem}; }

// The file, its model, and the open transaction with its own.
class Session : test::NoCopy {
public:
    explicit Session(const std::string &text) : text_(text), model_(Parse(text)) { test::WriteFile(path_, text_); }
    ~Session() { VELKCFileEditAbort(edit_); }

    void Run(Script &script)
    {
        for (int n = 0; n < 48 && !script.done(); ++n) {
            const uint8_t op = script.Byte();
            Edit edit{static_cast<Kind>((op & 0x3f) % kKindCount), {}, {}, {}};
            if (edit.kind == kAbort) {
                Abort();
                continue;
            }
            edit.section = script.PickSection(Current());
            // The null section reaches the calls that need a name at times.
            if (!edit.section && edit.kind >= kAddSection && edit.kind <= kRemoveSection && script.Pick(4) != 0) {
                edit.section = script.Text();
            }
            edit.key = edit.kind == kAddAndRemove ? script.Text() : script.PickKey(Current(), edit.section);
            edit.value = script.Text();
            // A new name that is taken, at times.
            const std::vector<std::string> names = Names(Current());
            if (edit.kind == kRenameSection && !names.empty() && script.Pick(2) == 0) {
                edit.value = names[script.Pick(names.size())];
            }
            if (edit.kind == kAddAndRemove) {
                AddAndRemove(edit, (op & 0x80) != 0, (op & 0x40) != 0);
            } else if ((op & 0x80) != 0 && (edit.kind == kSet || edit.kind == kRemoveKey)) {
                Streaming(edit);
            } else {
                Change(edit);
                if ((op & 0x40) == 0) {
                    Commit();
                }
            }
        }
        Commit();
    }

private:
    Doc &Current() { return edit_ != nullptr ? pending_ : model_; }

    // One change in the open transaction, opened if need be, checked against
    // the model; what the call had to give.
    Outcome Change(const Edit &edit)
    {
        if (edit_ == nullptr) {
            edit_ = VELKCFileEditOpen(path_.c_str(), EDIT_FLAG_EXISTING);
            FUZZ_CHECK(edit_ != nullptr && TextOf(edit_, 1) == text_);
            pending_ = model_;
            pendingText_ = text_;
        }
        const std::string before = pendingText_;
        Doc read = Parse(before);
        const Outcome expected = Apply(pending_, edit);
        const int result = CallInTransaction(edit_, edit);
        CheckOutcome(result, expected);
        pendingText_ = TextOf(edit_, 0);
        FUZZ_CHECK(Parse(pendingText_) == pending_);
        // Refused, or nothing there to change.
        FUZZ_CHECK(result > 0 || pendingText_ == before || expected.anyCount);
        // Setting a key that is there rewrites its last line alone, and only
        // when the value changes.
        Region *region = Section(read, edit.section);
        const Entry *entry = region != nullptr && edit.kind == kSet && result == 1 ? region->Find(edit.key) : nullptr;
        const std::vector<std::string_view> old = RawLines(before);
        const std::vector<std::string_view> now = RawLines(pendingText_);
        FUZZ_CHECK(entry == nullptr || old.size() == now.size());
        for (std::size_t i = 0; entry != nullptr && i < old.size(); ++i) {
            FUZZ_CHECK((old[i] != now[i]) == (static_cast<long>(i) == entry->last && entry->value != edit.value));
        }
        CheckTransactionReads(edit);
        return expected;
    }

    // The transaction's own readers agree with the model.
    void CheckTransactionReads(const Edit &edit)
    {
        velkc::List sections(VELKCSzListAlloc(0));
        velkc::List keys(VELKCSzListAlloc(0));
        FUZZ_CHECK(sections.get() != nullptr && keys.get() != nullptr);
        FUZZ_CHECK(VELKCFileEditGetSections(edit_, sections.address()) == sections->nItem);
        FUZZ_CHECK(Items(sections) == Names(pending_));

        Region *region = Section(pending_, edit.section);
        const int nKey = VELKCFileEditGetKeys(edit_, edit.Section(), keys.address());
        if (region == nullptr) {
            FUZZ_CHECK(nKey == -1 && VELKCErrGet() == ERR_SECTION_NOT_FOUND);
        } else {
            std::vector<std::string> listed = Items(keys);
            std::erase_if(listed, IsCommentKey);
            FUZZ_CHECK(nKey == keys->nItem && std::ranges::equal(listed, region->entries, {}, {}, &Entry::key));
        }

        if (IsCommentKey(edit.key)) {
            return;
        }
        const Entry *entry = region != nullptr ? region->Find(edit.key) : nullptr;
        const int needed = VELKCFileEditGetValue(edit_, edit.Section(), edit.key.c_str(), nullptr, 0);
        const unsigned missing = region != nullptr ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND;
        FUZZ_CHECK(entry != nullptr ? needed == static_cast<int>(entry->value.size()) + 1
                                    : needed == 0 && VELKCErrGet() == missing);
        std::vector<char> value(static_cast<std::size_t>(needed));
        FUZZ_CHECK(entry == nullptr ||
                   (VELKCFileEditGetValue(edit_, edit.Section(), edit.key.c_str(), value.data(), needed) == needed &&
                    entry->value == value.data()));
    }

    void Commit()
    {
        if (edit_ == nullptr) {
            return;
        }
        const int result = VELKCFileEditCommit(std::exchange(edit_, nullptr));
        const std::string before = std::exchange(text_, test::ReadFile(path_));
        FUZZ_CHECK(text_ == pendingText_);
        FUZZ_CHECK(result == 1 || (result == 0 && text_ == before));
        model_ = pending_;
        CheckFile();
    }

    void Abort()
    {
        VELKCFileEditAbort(std::exchange(edit_, nullptr));
        FUZZ_CHECK(test::ReadFile(path_) == text_);
    }

    // A streaming call gives what the same change in a transaction gives:
    // the result, the error and the bytes.
    void Streaming(const Edit &edit)
    {
        Commit();
        const Outcome expected = Change(edit);
        const Doc changed = pending_;
        Abort();
        CheckOutcome(
            edit.kind == kRemoveKey
                ? VELKCFileRemoveSectionKey(path_.c_str(), edit.Section(), edit.key.c_str())
                : VELKCFileSetSectionKeyValue(path_.c_str(), edit.Section(), edit.key.c_str(), edit.value.c_str()),
            expected);
        text_ = test::ReadFile(path_);
        FUZZ_CHECK(text_ == pendingText_);
        model_ = changed;
        CheckFile();
    }

    // A key set and then removed leaves the file as it was: in one
    // transaction, or in two commits, the removal streaming or not.
    void AddAndRemove(Edit edit, bool streaming, bool together)
    {
        Region *region = Section(Current(), edit.section);
        edit.kind = kSet;
        if (region == nullptr || region->Find(edit.key) != nullptr || Refused(edit)) {
            Change(edit);
            Commit();
            return;
        }
        Commit();
        const std::string before = text_;
        Change(edit);
        edit.kind = kRemoveKey;
        if (!together) {
            Commit();
        }
        if (streaming && !together) {
            Streaming(edit);
        } else {
            Change(edit);
            FUZZ_CHECK(!together || pendingText_ == before);
            Commit();
        }
        FUZZ_CHECK(text_ == before);
    }

    // The file holds what the model says, and nothing but it is left in the
    // directory; the section readers read the model's values.
    void CheckFile()
    {
        FUZZ_CHECK(test::ListDir(ShmScratch().path()) == std::set<std::string>{"conf"});
        FUZZ_CHECK(Parse(text_) == model_);
        const std::vector<std::string> names = Names(model_);
        for (const std::string &name : std::set<std::string>(names.begin(), names.end())) {
            const Region &region = *Section(model_, name);
            velkc::Hash pairs(VELKCSzHashAlloc(0));
            FUZZ_CHECK(pairs.get() != nullptr);
            const int nPair = VELKCFileGetSection(path_.c_str(), name.c_str(), pairs.address());
            FUZZ_CHECK(nPair == VELKCSzHashPairNum(pairs.get()));
            const auto read = std::count_if(pairs->rgSlot, pairs->rgSlot + pairs->nSlot, [](const SzHashSlot &slot) {
                return slot.pszKey != nullptr && !IsCommentKey(slot.pszKey);
            });
            FUZZ_CHECK(static_cast<std::size_t>(read) == region.entries.size());
            char value[4096];
            for (const Entry &entry : region.entries) {
                const char *got = VELKCSzHashGetValue(pairs.get(), entry.key.c_str());
                FUZZ_CHECK(got != nullptr && entry.value == got);
                FUZZ_CHECK(
                    VELKCFileGetSectionValue(path_.c_str(), name.c_str(), entry.key.c_str(), value, sizeof value) == 0);
                FUZZ_CHECK(entry.value.substr(0, sizeof value - 1) == value);
            }
            // No key line has a key with "=".
            FUZZ_CHECK(VELKCFileGetSectionValue(path_.c_str(), name.c_str(), "absent=", value, sizeof value) == -1);
            FUZZ_CHECK(VELKCErrGet() == (nPair > 0 ? ERR_KEY_NOT_FOUND : ERR_SECTION_NOT_FOUND));
        }
    }

    const fuzz::fs::path path_ = ShmScratch() / "conf";
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
    const std::size_t skip = textSize + (nul != nullptr ? 1 : 0);
    Script script{data + skip, size - skip};
    Session session(std::string(reinterpret_cast<const char *>(data), textSize));
    session.Run(script);
    return 0;
}
