// One setting changed and nothing else: the section setters and the
// transactions on sample files in the styles of real ones (tests/data), and
// what the transactions promise beside.
#include "file_support.hpp"

#include <sys/stat.h>
#include <thread>

using namespace test;

namespace {

const fs::path kData = VELKC_TEST_DATA_DIR;
const char *const kSamples[] = {"shares.conf", "backup.service", "database.cnf", "viewer.desktop", "legacy.ini"};

using Section = std::optional<std::string>;

const char *Name(const Section &section) { return section ? section->c_str() : nullptr; }

std::vector<std::string> Lines(const std::string &text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

std::vector<std::string> Items(const velkc::List &list) { return {list->pszItem, list->pszItem + list->nItem}; }

// A transaction that is aborted unless it is committed.
struct Transaction : NoCopy {
    explicit Transaction(const fs::path &path, int flags = 0) : edit(VELKCFileEditOpen(path.c_str(), flags)) {}
    ~Transaction() { VELKCFileEditAbort(edit); }
    int Commit() { return VELKCFileEditCommit(std::exchange(edit, nullptr)); }

    VELKCFileEdit *edit;
};

// The value a transaction reads; none when it reads none.
std::optional<std::string> EditValue(VELKCFileEdit *edit, const Section &section, const char *key)
{
    char value[256];
    const int size = VELKCFileEditGetValue(edit, Name(section), key, value, sizeof value);
    return size > 0 ? std::optional<std::string>(value) : std::nullopt;
}

// The value the section readers read (a transaction, before any section).
std::optional<std::string> ReadValue(const fs::path &path, const Section &section, const char *key)
{
    if (!section) {
        const Transaction transaction(path);
        return EditValue(transaction.edit, section, key);
    }
    char value[256];
    return VELKCFileGetSectionValue(path.c_str(), section->c_str(), key, value, sizeof value) == 0
               ? std::optional<std::string>(value)
               : std::nullopt;
}

// Every key of every section of a file, the lines before the first section
// included; a section named twice only once, as edits reach only the first.
std::vector<std::pair<Section, std::string>> SettingsOf(const fs::path &path)
{
    const Transaction transaction(path, EDIT_FLAG_EXISTING);
    velkc::List names(VELKCSzListAlloc(16));
    EXPECT_GE(VELKCFileEditGetSections(transaction.edit, names.address()), 0);
    std::vector<Section> sections{std::nullopt};
    for (const std::string &name : Items(names)) {
        if (std::find(sections.begin(), sections.end(), Section(name)) == sections.end()) {
            sections.emplace_back(name);
        }
    }
    std::vector<std::pair<Section, std::string>> settings;
    for (const Section &section : sections) {
        velkc::List keys(VELKCSzListAlloc(16));
        EXPECT_GE(VELKCFileEditGetKeys(transaction.edit, Name(section), keys.address()), 0);
        for (const std::string &key : Items(keys)) {
            settings.emplace_back(section, key);
        }
    }
    return settings;
}

class SectionEdit : public ScratchTest {
protected:
    // A fresh copy of a sample in the scratch directory.
    fs::path Copy(const std::string &sample)
    {
        const fs::path copy = Path(sample);
        fs::copy_file(kData / sample, copy, fs::copy_options::overwrite_existing);
        return copy;
    }
};

TEST_F(SectionEdit, SettingAKeyChangesItsValueOnItsLineOnly)
{
    int tried = 0;
    for (const std::string sample : kSamples) {
        for (const auto &[section, key] : SettingsOf(kData / sample)) {
            SCOPED_TRACE(sample + " [" + section.value_or("(before the first section)") + "] " + key);
            const fs::path file = Copy(sample);
            const std::vector<std::string> before = Lines(ReadFile(file));
            ASSERT_EQ(VELKCFileSetSectionKeyValue(file.c_str(), Name(section), key.c_str(), "new value"), 1);
            const std::string streamed = ReadFile(file);
            const std::vector<std::string> after = Lines(streamed);
            ASSERT_EQ(after.size(), before.size());
            std::vector<std::size_t> changed;
            for (std::size_t i = 0; i < before.size(); ++i) {
                if (before[i] != after[i]) {
                    changed.push_back(i);
                }
            }
            ASSERT_EQ(changed.size(), 1u);
            // The key as spelled, its indentation and line ending stay.
            const std::string &old = before[changed[0]];
            EXPECT_EQ(after[changed[0]].substr(0, old.find('=')), old.substr(0, old.find('=')));
            EXPECT_EQ(after[changed[0]].ends_with("\r\n"), old.ends_with("\r\n"));
            EXPECT_EQ(ReadValue(file, section, key.c_str()), "new value");
            // A transaction makes the same change.
            fs::copy_file(kData / sample, file, fs::copy_options::overwrite_existing);
            Transaction transaction(file);
            ASSERT_EQ(VELKCFileEditSetValue(transaction.edit, Name(section), key.c_str(), "new value"), 1);
            ASSERT_EQ(transaction.Commit(), 1);
            EXPECT_EQ(ReadFile(file), streamed);
            ++tried;
        }
    }
    std::printf("%d keys set, each one line changed\n", tried);
}

TEST_F(SectionEdit, KeyBeforeTheFirstSectionLeavesEverySectionAlone)
{
    for (const std::string sample : kSamples) {
        SCOPED_TRACE(sample);
        const fs::path file = Copy(sample);
        const std::string before = ReadFile(file);
        ASSERT_EQ(VELKCFileSetSectionKeyValue(file.c_str(), nullptr, "top", "1"), 1);
        const std::string after = ReadFile(file);
        const std::size_t sections = before.find("\n[") + 1;
        EXPECT_EQ(after.substr(after.size() - (before.size() - sections)), before.substr(sections));
        EXPECT_EQ(ReadValue(file, std::nullopt, "top"), "1");
    }
}

TEST_F(SectionEdit, ValuesThatReadersWouldTrimReadBackWhole)
{
    const fs::path file = Copy("shares.conf");
    for (const char *value :
         {"  padded  ", "\"quoted\"", "", "a=b=c", "ünïcödé ✓", "#not a comment", "tab\tin", "\"", "trailing tab\t"}) {
        SCOPED_TRACE(value);
        for (const char *key : {"comment", "new key", "path"}) { // quoted, new, plain
            ASSERT_EQ(VELKCFileSetSectionKeyValue(file.c_str(), "media", key, value), 1);
            EXPECT_EQ(ReadValue(file, "media", key), value);
        }
        // The quotes around the old value stay.
        const std::string quoted = "\n   comment = \"" + std::string(value) + "\"\n";
        EXPECT_NE(ReadFile(file).find(quoted), std::string::npos);
    }
}

TEST_F(SectionEdit, RepeatedKeysAndContinuedValues)
{
    // The readers take the last of a repeated key: that line changes.
    const fs::path unit = Copy("backup.service");
    ASSERT_EQ(VELKCFileSetSectionKeyValue(unit.c_str(), "Unit", "Wants", "other.target"), 1);
    const std::string text = ReadFile(unit);
    EXPECT_NE(text.find("Wants=network-online.target\nWants=other.target\n"), std::string::npos);
    EXPECT_EQ(VELKCFileRemoveSectionKey(unit.c_str(), "Unit", "Wants"), 2);
    EXPECT_EQ(ReadFile(unit).find("Wants="), std::string::npos);
    // A value continued on the next line goes with its key.
    const fs::path cnf = Copy("database.cnf");
    EXPECT_EQ(VELKCFileRemoveSectionKey(cnf.c_str(), "server", "init-connect"), 1);
    const std::string rest = ReadFile(cnf);
    EXPECT_EQ(rest.find("COLLATE"), std::string::npos);
    EXPECT_NE(rest.find("skip-name-resolve\nmax_connections"), std::string::npos);
    // Only the first section of a name is changed, as only it is read.
    const fs::path shares = Copy("shares.conf");
    ASSERT_EQ(VELKCFileSetSectionKeyValue(shares.c_str(), "media", "path", "/srv/new"), 1);
    EXPECT_NE(ReadFile(shares).find("[media]\n   path = /srv/old-media\n"), std::string::npos);
}

TEST_F(SectionEdit, MissingSectionGoesAtTheEndInTheFilesStyle)
{
    const fs::path ini = Copy("legacy.ini");
    ASSERT_EQ(VELKCFileSetSectionKeyValue(ini.c_str(), "Sound", "Volume", "7"), 1);
    EXPECT_EQ(ReadFile(ini), ReadFile(kData / "legacy.ini") + "\r\n[Sound]\r\nVolume=7\r\n");
    const fs::path missing = Path("missing.conf");
    ASSERT_EQ(VELKCFileSetSectionKeyValue(missing.c_str(), "a", "k", "v"), 1);
    EXPECT_EQ(ReadFile(missing), "[a]\nk=v\n");
    ResetError();
    EXPECT_EQ(VELKCFileRemoveSectionKey(ini.c_str(), "Nowhere", "k"), 0);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_remove_section_key");
    EXPECT_EQ(VELKCFileRemoveSectionKey(ini.c_str(), "Sound", "Nothing"), 0);
    ExpectError(ERR_KEY_NOT_FOUND, "file_remove_section_key");
}

class Transactions : public ScratchTest {
protected:
    const fs::path conf_ = Path("conf");
};

TEST_F(Transactions, EndWithoutChangesWriteNothing)
{
    WriteFile(conf_, kBase);
    struct stat before;
    ASSERT_EQ(stat(conf_.c_str(), &before), 0);
    {
        Transaction aborted(conf_);
        ASSERT_EQ(VELKCFileEditSetValue(aborted.edit, "s", "m", "2"), 1);
    }
    Transaction unchanged(conf_);
    ASSERT_EQ(VELKCFileEditSetValue(unchanged.edit, "s", "m", "1"), 1); // the value it has
    EXPECT_EQ(unchanged.Commit(), 0);
    struct stat after;
    ASSERT_EQ(stat(conf_.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(ReadFile(conf_), kBase);
}

TEST_F(Transactions, MissingFileIsCreatedOnCommitUnlessItMustExist)
{
    ResetError();
    EXPECT_EQ(VELKCFileEditOpen(conf_.c_str(), EDIT_FLAG_EXISTING), nullptr);
    ExpectError(ERR_OPEN_FAILED, "file_edit_open");
    Transaction creating(conf_);
    ASSERT_NE(creating.edit, nullptr);
    EXPECT_FALSE(fs::exists(conf_));
    ASSERT_EQ(VELKCFileEditSetValue(creating.edit, nullptr, "k", "v"), 1);
    ASSERT_EQ(creating.Commit(), 1);
    EXPECT_EQ(ReadFile(conf_), "k=v\n");
    EXPECT_EQ(ListDir(dir_), std::set<std::string>{"conf"});
}

TEST_F(Transactions, SectionsAreAddedRenamedListedAndRemoved)
{
    WriteFile(conf_, "top=1\n[a]\nx=1\n\n[b]\ny=2\n");
    Transaction transaction(conf_);
    VELKCFileEdit *edit = transaction.edit;
    EXPECT_EQ(VELKCFileEditAddSection(edit, "a"), 0);
    EXPECT_EQ(VELKCFileEditAddSection(edit, "c"), 1);
    ResetError();
    EXPECT_EQ(VELKCFileEditRenameSection(edit, "a", "b"), 0);
    ExpectError(ERR_KEY_EXISTS, "file_edit_rename_section");
    EXPECT_EQ(VELKCFileEditRenameSection(edit, "none", "d"), 0);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_edit_rename_section");
    EXPECT_EQ(VELKCFileEditRenameSection(edit, "a", "d"), 1);
    velkc::List names(VELKCSzListAlloc(8));
    EXPECT_EQ(VELKCFileEditGetSections(edit, names.address()), 3);
    EXPECT_EQ(Items(names), (std::vector<std::string>{"d", "b", "c"}));
    EXPECT_EQ(VELKCFileEditRemoveSection(edit, "b"), 1);
    EXPECT_EQ(VELKCFileEditRemoveSection(edit, "c"), 1); // added and removed: no trace
    EXPECT_EQ(VELKCFileEditRemoveSection(edit, "c"), 0);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_edit_remove_section");
    velkc::List keys(VELKCSzListAlloc(8));
    EXPECT_EQ(VELKCFileEditGetKeys(edit, "b", keys.address()), -1);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_edit_get_keys");
    ASSERT_EQ(transaction.Commit(), 1);
    EXPECT_EQ(ReadFile(conf_), "top=1\n[d]\nx=1\n");
}

TEST_F(Transactions, ValuesAreReadAsTheKeyReaderReadsThem)
{
    WriteFile(conf_, "[s]\nk = \"  spaced  \"\nempty=\n");
    const Transaction transaction(conf_);
    EXPECT_EQ(VELKCFileEditGetValue(transaction.edit, "s", "k", nullptr, 0), 11);
    char small[4];
    ResetError();
    EXPECT_EQ(VELKCFileEditGetValue(transaction.edit, "s", "k", small, sizeof small), -1);
    ExpectError(ERR_NOT_ENOUGH_MEMORY, "file_edit_get_value");
    EXPECT_EQ(EditValue(transaction.edit, "s", "k"), "  spaced  ");
    EXPECT_EQ(EditValue(transaction.edit, "s", "empty"), "");
    EXPECT_EQ(VELKCFileEditGetValue(transaction.edit, "s", "none", nullptr, 0), 0);
    ExpectError(ERR_KEY_NOT_FOUND, "file_edit_get_value");
    EXPECT_EQ(VELKCFileEditGetValue(transaction.edit, "t", "k", nullptr, 0), 0);
    ExpectError(ERR_SECTION_NOT_FOUND, "file_edit_get_value");
}

TEST_F(Transactions, FileOverTheLimitIsRefused)
{
    WriteFile(conf_, "");
    fs::resize_file(conf_, VELKC_FILE_EDIT_MAX_SIZE + 1);
    ResetError();
    EXPECT_EQ(VELKCFileEditOpen(conf_.c_str(), 0), nullptr);
    ExpectError(ERR_FILE_TOO_LARGE, "file_edit_open");
}

// A writer that comes while a transaction is open waits for its commit, and
// then changes the committed file: neither change is lost.
TEST_F(Transactions, WritersWaitForTheCommit)
{
    WriteFile(conf_, "a=0\n");
    Transaction transaction(conf_);
    ASSERT_EQ(VELKCFileEditSetValue(transaction.edit, nullptr, "a", "1"), 1);
    const pid_t writer = ForkChild([&] { return VELKCFileSetKeyValue(conf_.c_str(), "b", "2", nullptr) == 1 ? 0 : 1; });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(transaction.Commit(), 1);
    EXPECT_EQ(WaitChild(writer), 0);
    EXPECT_EQ(ReadFile(conf_), "a=1\nb=2\n");
}

} // namespace
