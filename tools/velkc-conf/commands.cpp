// velkc-conf's command table and the options its commands take.
#include "conf.hpp"

#include <array>
#include <iostream>

namespace conf {

const char *const kUsageText =
    "usage: velkc-conf get            [-s SECTION] [--format=FMT] FILE KEY\n"
    "       velkc-conf set            [-s SECTION] [--if-value OLD | --if-absent] [--dry-run] FILE KEY VALUE\n"
    "       velkc-conf del            [-s SECTION] [--dry-run] FILE KEY\n"
    "       velkc-conf keys           [-s SECTION] [--format=FMT] FILE\n"
    "       velkc-conf sections       [--format=FMT] FILE\n"
    "       velkc-conf dump           [--format=FMT] FILE\n"
    "       velkc-conf merge          [-s SECTION] [--dry-run] FILE < KEY=VALUE lines\n"
    "       velkc-conf apply          [--dry-run] FILE < commands\n"
    "       velkc-conf add-section    [--dry-run] FILE SECTION\n"
    "       velkc-conf rename-section [--dry-run] FILE SECTION NEW-NAME\n"
    "       velkc-conf del-section    [--dry-run] FILE SECTION\n"
    "       velkc-conf --help | --version\n";

namespace {

constexpr std::array kCommands{
    Command{"get", 1, kSection | kFormat, false, false, Get},
    Command{"set", 2, kSection | kDryRun | kCondition, true, true, Set},
    Command{"del", 1, kSection | kDryRun, true, false, Del},
    Command{"keys", 0, kSection | kFormat, false, false, Keys},
    Command{"sections", 0, kFormat, false, false, Sections},
    Command{"dump", 0, kFormat, false, false, Dump},
    Command{"merge", 0, kSection | kDryRun, true, true, Merge},
    Command{"apply", 0, kDryRun, true, true, Apply},
    Command{"add-section", 1, kDryRun, true, true, AddSection},
    Command{"rename-section", 2, kDryRun, true, false, RenameSection},
    Command{"del-section", 1, kDryRun, true, false, DelSection},
};

bool Takes(const Command &command, Option option) { return (command.options & option) != 0; }

// The value of "--name=VALUE" or "--name VALUE"; false when there is none.
bool OptionValue(std::string_view option, std::string_view name, std::span<char *const> &args, std::string &value)
{
    if (option.starts_with(name) && option.size() > name.size() && option[name.size()] == '=') {
        value = option.substr(name.size() + 1);
        return true;
    }
    if (option != name || args.empty()) {
        return false;
    }
    value = args[0];
    args = args.subspan(1);
    return true;
}

Exit ParseFormat(std::string_view name, Format &format)
{
    if (name == "plain") {
        format = Format::kPlain;
    } else if (name == "json") {
        format = Format::kJson;
    } else if (name == "sh") {
        format = Format::kShell;
    } else {
        return Usage("unknown format " + std::string(name) + " (plain, json or sh)");
    }
    return kOk;
}

} // namespace

std::span<const Command> Commands() { return kCommands; }

const Command *FindCommand(std::string_view name)
{
    for (const Command &command : kCommands) {
        if (command.name == name) {
            return &command;
        }
    }
    return nullptr;
}

Exit ParseOptions(const Command &command, std::span<char *const> &args, Options &options)
{
    // Options come before the operands, so that a VALUE may begin with "-".
    while (!args.empty() && args[0][0] == '-' && args[0][1] != '\0') {
        const std::string_view option = args[0];
        args = args.subspan(1);
        if (option == "--") {
            break;
        }
        std::string value;
        const std::string unknown = "unknown option " + std::string(option) + " for " + std::string(command.name);
        if (option == "-s" && Takes(command, kSection)) {
            if (args.empty() || options.section) {
                return Usage("-s takes one SECTION");
            }
            options.section = args[0];
            args = args.subspan(1);
        } else if (option.starts_with("--format") && Takes(command, kFormat)) {
            if (!OptionValue(option, "--format", args, value)) {
                return Usage(unknown);
            }
            if (Exit status = ParseFormat(value, options.format); status != kOk) {
                return status;
            }
        } else if (option == "--dry-run" && Takes(command, kDryRun)) {
            options.dryRun = true;
        } else if (option.starts_with("--if-value") && Takes(command, kCondition) &&
                   OptionValue(option, "--if-value", args, value)) {
            options.ifValue = value;
        } else if (option == "--if-absent" && Takes(command, kCondition)) {
            options.ifAbsent = true;
        } else {
            return Usage(unknown);
        }
    }
    if (options.ifValue && options.ifAbsent) {
        return Usage("--if-value and --if-absent exclude each other");
    }
    return kOk;
}

Exit RunOn(const Command &command, const char *file, velkc::file::Edit &edit, std::span<char *const> args,
           Options &options)
{
    if (Exit status = ParseOptions(command, args, options); status != kOk) {
        return status;
    }
    if (args.size() != command.operands) {
        return Usage("wrong number of arguments for " + std::string(command.name));
    }
    return command.run(Context{file, edit, options, args});
}

Exit Fail(const char *file, std::error_code error, std::string_view detail)
{
    // A few paths of the library fail without a code.
    std::cerr << "velkc-conf: " << file << ": "
              << (error ? error.message() : velkc::make_error_code(velkc::errc::operation_failed).message());
    if (!detail.empty()) {
        std::cerr << " (" << detail << ')';
    }
    std::cerr << '\n';
    return kFailed;
}

Exit Usage(std::string_view problem)
{
    std::cerr << "velkc-conf: " << problem << '\n' << kUsageText;
    return kUsage;
}

} // namespace conf
