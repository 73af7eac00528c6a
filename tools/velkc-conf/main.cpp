// velkc-conf: reads and edits configuration files from the shell through the
// library's readers and writers, so that every change has their guarantees:
// one atomic rewrite or append, taken in turn with other writers, owner,
// mode and comments kept.
#include <velkc.hpp>

#include <array>
#include <iostream>
#include <map>
#include <new>
#include <span>
#include <string>
#include <string_view>

namespace {

enum Exit : int { kOk = 0, kAbsent = 1, kUsage = 2, kFailed = 3 };

constexpr const char *kUsageText = "usage: velkc-conf get      [-s SECTION] FILE KEY\n"
                                   "       velkc-conf set      [-s SECTION] FILE KEY VALUE\n"
                                   "       velkc-conf del      [-s SECTION] FILE KEY\n"
                                   "       velkc-conf keys     [-s SECTION] FILE\n"
                                   "       velkc-conf sections FILE\n"
                                   "       velkc-conf merge    [-s SECTION] FILE < KEY=VALUE lines\n"
                                   "       velkc-conf --help | --version\n";

constexpr const char *kHelpText = "\n"
                                  "get prints a value, set sets it (creating the key, section or file), del\n"
                                  "removes it, keys and sections list names one per line, merge applies the\n"
                                  "KEY=VALUE lines of standard input in one rewrite. With -s the command works\n"
                                  "on a [SECTION]; without it, on a file that has no sections.\n"
                                  "Exit status: 0 done, 1 key or section not there, 2 usage error, 3 failure.\n";

// The library's containers, each freed once by its handle. The tool calls
// the C functions on them directly (get(), and address() where a call may
// move the block).
using velkc::Hash;
using velkc::List;

// Pairs as the tool handles them: values as the readers give them back,
// keys in byte order, which is the order keys are listed in.
using Pairs = std::map<std::string, std::string, std::less<>>;

// The file and, with -s, the section a command works on.
struct Scope {
    const char *file;
    const char *section; // null: the file's KEY=VALUE lines
};

// Stale codes must not be reported for a call that failed without setting one.
void ClearError() { VELKCErrSetEx(ERR_SUCCESS, "velkc-conf", 0); }

Exit Fail(const char *file, unsigned int code, std::string_view detail = {})
{
    // A few paths of the library fail without a code.
    const char *text = VELKCErrString(code != ERR_SUCCESS ? code : ERR_OPERATION_FAILED);
    std::cerr << "velkc-conf: " << file << ": " << text;
    if (!detail.empty()) {
        std::cerr << " (" << detail << ')';
    }
    std::cerr << '\n';
    return kFailed;
}

Exit FailRecorded(const char *file) { return Fail(file, VELKCErrGet()); }

Exit Print(std::string_view line)
{
    std::cout << line << '\n';
    return kOk;
}

// The length of text once the readers have trimmed it: blanks at both ends,
// then one pair of enclosing double quotes.
std::size_t ReadBackLength(std::string text)
{
    return static_cast<std::size_t>(VELKCStrTrimSpace(text.data(), nullptr));
}

bool ReadsBackWhole(const std::string &text) { return ReadBackLength(text) == text.size(); }

// A value the readers would trim is written inside quotes: they strip
// exactly that pair and give the value back byte for byte.
std::string AsWritten(const std::string &value) { return ReadsBackWhole(value) ? value : '"' + value + '"'; }

// The readers take a key trimmed like a value: a key that trimming changes
// could be written but never found again, so it is refused.
Exit CheckKey(const char *file, const std::string &key)
{
    if (ReadsBackWhole(key)) {
        return kOk;
    }
    return Fail(file, ERR_BAD_PARAMETERS, "key \"" + key + "\" has surrounding blanks or quotes");
}

// A line of a section that begins with "#" or ";" is a comment, which the
// section reader still splits into a pair.
bool IsCommentKey(std::string_view key) { return key.starts_with('#') || key.starts_with(';'); }

Pairs ToPairs(const Hash &hash)
{
    Pairs pairs;
    for (const auto [key, value] : hash) {
        if (!IsCommentKey(key)) {
            pairs.emplace(key, value);
        }
    }
    return pairs;
}

// A table of the pairs as they are to be written; null (error recorded) when
// it can't be had.
Hash ToHash(const Pairs &pairs)
{
    Hash hash(VELKCSzHashAlloc(0));
    for (const auto &[key, value] : pairs) {
        if (!hash.get() || VELKCSzHashSetValue(hash.address(), key.c_str(), AsWritten(value).c_str()) < 0) {
            return Hash(nullptr);
        }
    }
    return hash;
}

// Reads the first section of a name into pairs (none for a missing one);
// false on failure, with the error recorded.
bool ReadSection(const Scope &scope, Pairs &pairs)
{
    Hash hash(VELKCSzHashAlloc(0));
    if (!hash.get() || VELKCFileGetSection(scope.file, scope.section, hash.address()) < 0) {
        return false;
    }
    pairs = ToPairs(hash);
    return true;
}

// A key whose value is empty has no value for the key reader, so get treats
// it as not there in a section too.
Exit PrintValue(const Pairs &pairs, const char *key)
{
    const auto found = pairs.find(key);
    return found == pairs.end() || found->second.empty() ? kAbsent : Print(found->second);
}

Exit PrintKeys(const Pairs &pairs)
{
    for (const auto &pair : pairs) {
        Print(pair.first);
    }
    return kOk;
}

// Section names in file order; -1 on failure.
int ReadSectionNames(const char *file, List &names)
{
    return names.get() ? VELKCFileEnumSection(file, names.address()) : -1;
}

// Rewrites a section with pairs as edit leaves them. A section that is not
// there yet is appended whole when add is given. Another writer may add or
// delete the section between the read and the write; the edit is then made
// again on what it left.
template <typename Edit>
Exit RewriteSection(const Scope &scope, const Pairs *add, Edit edit)
{
    constexpr int kAttempts = 3;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (add != nullptr) {
            const Hash hash = ToHash(*add);
            const int added = hash.get() ? VELKCFileAddSection(scope.file, scope.section, hash.get(), nullptr) : -1;
            if (added != 0) {
                return added > 0 ? kOk : FailRecorded(scope.file);
            }
        }
        Pairs pairs;
        if (!ReadSection(scope, pairs)) {
            return FailRecorded(scope.file);
        }
        if (!edit(pairs)) {
            return kOk; // nothing to change
        }
        const Hash hash = ToHash(pairs);
        const int found = hash.get() ? VELKCIFileModifySection(scope.file, scope.section, nullptr, hash.get(),
                                                               SECTION_FLAG_REPLACE, nullptr)
                                     : -1;
        if (found < 0) {
            return FailRecorded(scope.file);
        }
        if (found > 0 || add == nullptr) {
            return kOk; // a section deleted meanwhile has nothing left to delete
        }
    }
    return Fail(scope.file, ERR_OPERATION_FAILED, "the section kept changing");
}

// Sets pairs in the file or section, in one rewrite or append.
Exit SetPairs(const Scope &scope, const Pairs &changes)
{
    for (const auto &pair : changes) {
        if (const Exit status = CheckKey(scope.file, pair.first); status != kOk) {
            return status;
        }
    }
    if (scope.section != nullptr) {
        return RewriteSection(scope, &changes, [&changes](Pairs &pairs) {
            for (const auto &[key, value] : changes) {
                pairs[key] = value;
            }
            return true;
        });
    }
    const Hash hash = ToHash(changes);
    if (!hash.get() || VELKCFileSetKeys(scope.file, hash.get(), nullptr, nullptr) < 0) {
        return FailRecorded(scope.file);
    }
    return kOk;
}

Exit Get(const Scope &scope, std::span<char *const> args)
{
    const char *key = args[0];
    if (scope.section != nullptr) {
        Pairs pairs;
        return ReadSection(scope, pairs) ? PrintValue(pairs, key) : FailRecorded(scope.file);
    }
    // The first call asks for the size; a value grown in between is asked
    // for again.
    for (;;) {
        const int size = VELKCFileGetKeyValue(scope.file, key, nullptr, 0, 0);
        if (size <= 0) {
            return size == 0 ? kAbsent : FailRecorded(scope.file);
        }
        std::string value(static_cast<std::size_t>(size), '\0');
        const int got = VELKCFileGetKeyValue(scope.file, key, value.data(), size, 0);
        if (got > 0) {
            value.resize(static_cast<std::size_t>(got) - 1);
            return Print(value);
        }
        if (got == 0) {
            return kAbsent;
        }
        if (VELKCErrGet() != ERR_NOT_ENOUGH_MEMORY) {
            return FailRecorded(scope.file);
        }
    }
}

Exit Set(const Scope &scope, std::span<char *const> args)
{
    if (scope.section != nullptr) {
        return SetPairs(scope, Pairs{{args[0], args[1]}});
    }
    if (const Exit status = CheckKey(scope.file, args[0]); status != kOk) {
        return status;
    }
    // The key writer also folds duplicate lines of the key into one.
    if (VELKCFileSetKeyValue(scope.file, args[0], AsWritten(args[1]).c_str(), nullptr) < 0) {
        return FailRecorded(scope.file);
    }
    return kOk;
}

Exit Del(const Scope &scope, std::span<char *const> args)
{
    const char *key = args[0];
    if (scope.section != nullptr) {
        return RewriteSection(scope, nullptr, [key](Pairs &pairs) { return pairs.erase(key) > 0; });
    }
    // An absent key leaves the file untouched and is no failure.
    return VELKCFileRemoveKey(scope.file, key) < 0 ? FailRecorded(scope.file) : kOk;
}

Exit Keys(const Scope &scope, std::span<char *const>)
{
    if (scope.section == nullptr) {
        Hash hash(VELKCSzHashAlloc(0));
        if (!hash.get() || VELKCFileGetPair(scope.file, hash.address()) < 0) {
            return FailRecorded(scope.file);
        }
        return PrintKeys(ToPairs(hash));
    }
    Pairs pairs;
    if (!ReadSection(scope, pairs)) {
        return FailRecorded(scope.file);
    }
    if (!pairs.empty()) {
        return PrintKeys(pairs);
    }
    // The section reader gives no pairs for a missing section and for an
    // empty one alike.
    List names(VELKCSzListAlloc(0));
    if (ReadSectionNames(scope.file, names) < 0) {
        return FailRecorded(scope.file);
    }
    return VELKCSzListFind(names.get(), scope.section) >= 0 ? kOk : kAbsent;
}

Exit Sections(const Scope &scope, std::span<char *const>)
{
    List names(VELKCSzListAlloc(0));
    if (ReadSectionNames(scope.file, names) < 0) {
        return FailRecorded(scope.file);
    }
    for (const std::string_view name : names) {
        Print(name);
    }
    return kOk;
}

bool IsSkippedInput(std::string_view line)
{
    return line.find_first_not_of(" \t\r") == std::string_view::npos || line.starts_with('#') || line.starts_with(';');
}

// Reads KEY=VALUE lines, split and trimmed as the file readers split a line;
// blank and comment lines are skipped, a later line of a key wins.
Exit ReadMergeInput(const char *file, Pairs &changes)
{
    List pair(VELKCSzListAlloc(0));
    std::string line;
    for (int number = 1; std::getline(std::cin, line); ++number) {
        if (IsSkippedInput(line)) {
            continue;
        }
        const std::string where = "standard input, line " + std::to_string(number);
        if (line.find('\0') != std::string::npos) {
            return Fail(file, ERR_BAD_PARAMETERS, where + ": NUL byte");
        }
        if (!pair.get()) {
            return FailRecorded(file);
        }
        VELKCSzListRemoveAll(pair.get());
        if (VELKCStrSepPair(line.c_str(), pair.address()) < 0) {
            return Fail(file, VELKCErrGet(), where + ": not KEY=VALUE");
        }
        changes[pair.get()->pszItem[0]] = pair.get()->pszItem[1];
    }
    if (std::cin.bad()) {
        return Fail(file, ERR_READ_FAILED, "standard input");
    }
    return kOk;
}

Exit Merge(const Scope &scope, std::span<char *const>)
{
    Pairs changes;
    if (const Exit status = ReadMergeInput(scope.file, changes); status != kOk) {
        return status;
    }
    return changes.empty() ? kOk : SetPairs(scope, changes);
}

struct Command {
    std::string_view name;
    std::size_t operands; // after FILE
    bool takesSection;
    Exit (*run)(const Scope &, std::span<char *const>);
};

constexpr std::array kCommands{
    Command{"get", 1, true, Get},
    Command{"set", 2, true, Set},
    Command{"del", 1, true, Del},
    Command{"keys", 0, true, Keys},
    Command{"sections", 0, false, Sections},
    Command{"merge", 0, true, Merge},
};

Exit Usage(std::string_view problem)
{
    std::cerr << "velkc-conf: " << problem << '\n' << kUsageText;
    return kUsage;
}

// The key functions know no sections: in a file with sections they would
// find and remove keys inside them too, and append a new key to the last
// section. Without -s the file must therefore have none. A file that can't
// be read is left for the command to report (or, for set, to create).
Exit RequireNoSections(const char *file)
{
    List names(VELKCSzListAlloc(0));
    if (ReadSectionNames(file, names) > 0) {
        return Fail(file, ERR_BAD_PARAMETERS, "the file has sections: give -s SECTION");
    }
    ClearError();
    return kOk;
}

// Options come before the operands, so that a VALUE may begin with "-".
Exit Run(const Command &command, std::span<char *const> args)
{
    Scope scope{nullptr, nullptr};
    while (!args.empty() && args[0][0] == '-' && args[0][1] != '\0') {
        const std::string_view option = args[0];
        args = args.subspan(1);
        if (option == "--") {
            break;
        }
        if (option != "-s" || !command.takesSection) {
            return Usage("unknown option " + std::string(option) + " for " + std::string(command.name));
        }
        if (args.empty() || scope.section != nullptr) {
            return Usage("-s takes one SECTION");
        }
        scope.section = args[0];
        args = args.subspan(1);
    }
    if (args.size() != command.operands + 1) {
        return Usage("wrong number of arguments for " + std::string(command.name));
    }
    scope.file = args[0];
    ClearError();
    try {
        if (command.takesSection && scope.section == nullptr) {
            if (const Exit status = RequireNoSections(scope.file); status != kOk) {
                return status;
            }
        }
        return command.run(scope, args.subspan(1));
    } catch (const std::bad_alloc &) {
        return Fail(scope.file, ERR_OUT_OF_MEMORY);
    }
}

Exit Dispatch(std::span<char *const> args)
{
    if (args.empty()) {
        return Usage("no command");
    }
    const std::string_view name = args[0];
    if ((name == "--help" || name == "--version") && args.size() != 1) {
        return Usage(std::string(name) + " takes no arguments");
    }
    if (name == "--help") {
        std::cout << kUsageText << kHelpText;
        return kOk;
    }
    if (name == "--version") {
        return Print("velkc-conf " VELKC_CONF_VERSION);
    }
    for (const Command &command : kCommands) {
        if (command.name == name) {
            return Run(command, args.subspan(1));
        }
    }
    return Usage("unknown command " + std::string(name));
}

} // namespace

int main(int argc, char **argv)
{
    const Exit status = Dispatch(std::span<char *const>(argv + 1, static_cast<std::size_t>(argc - 1)));
    // A value that did not reach its reader whole must not look like success.
    if (!(std::cout << std::flush)) {
        return Fail("standard output", ERR_WRITE_FAILED);
    }
    return status;
}
