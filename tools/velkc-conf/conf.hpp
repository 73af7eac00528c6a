// velkc-conf: what its commands share. Every command works on one
// transaction of the library (velkc::file::Edit): it reads the file's
// locked state and changes it, and the whole invocation is written in one
// commit, or shown as a diff with --dry-run.
#pragma once

#include <velkc.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace conf {

enum Exit : int { kOk = 0, kAbsent = 1, kUsage = 2, kFailed = 3, kUnmet = 4 };

enum class Format { kPlain, kJson, kShell };

// The options a command takes, as bits of Command::options.
enum Option : unsigned { kSection = 1, kFormat = 2, kDryRun = 4, kCondition = 8 };

struct Options {
    velkc::file::Section section; // -s SECTION
    Format format = Format::kPlain;
    bool dryRun = false;
    std::optional<std::string> ifValue; // --if-value OLD
    bool ifAbsent = false;              // --if-absent
};

// One command's run: the file, its transaction, the options and the
// operands after FILE.
struct Context {
    const char *file;
    velkc::file::Edit &edit;
    const Options &options;
    std::span<char *const> operands;
};

struct Command {
    std::string_view name;
    std::size_t operands; // after FILE
    unsigned options;     // Option bits
    bool changes;         // commits, or shows the diff with --dry-run
    bool creates;         // a missing file is created, rather than refused
    Exit (*run)(const Context &);
};

// The usage text, and the command table (commands.cpp).
extern const char *const kUsageText;
std::span<const Command> Commands();
const Command *FindCommand(std::string_view name);

// Parses the options before the operands into options; args is left at
// the first operand. kOk, or kUsage after printing why.
Exit ParseOptions(const Command &command, std::span<char *const> &args, Options &options);

// "velkc-conf: FILE: what" on standard error; kFailed. A code without a
// text of its own reads as a failed operation.
Exit Fail(const char *file, std::error_code error, std::string_view detail = {});

// The key or section asked for is not there: an answer, not a failure.
inline bool IsAbsence(std::error_code error)
{
    return error == velkc::errc::key_not_found || error == velkc::errc::section_not_found;
}
Exit Usage(std::string_view problem);

// Runs the command on the transaction with the operands and options that
// follow its name in args (a line of apply, or the command line after
// FILE): kUsage when they do not fit it.
Exit RunOn(const Command &command, const char *file, velkc::file::Edit &edit, std::span<char *const> args,
           Options &options);

// The commands (cmd_*.cpp).
Exit Get(const Context &);
Exit Set(const Context &);
Exit Del(const Context &);
Exit Keys(const Context &);
Exit Sections(const Context &);
Exit Dump(const Context &);
Exit Merge(const Context &);
Exit Apply(const Context &);
Exit AddSection(const Context &);
Exit RenameSection(const Context &);
Exit DelSection(const Context &);

} // namespace conf
