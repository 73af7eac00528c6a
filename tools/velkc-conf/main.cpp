// velkc-conf: reads and edits configuration files from the shell. Each
// invocation is one transaction of the library: the file's writers' lock
// is held from the read to the commit, so a change computed from what was
// read cannot lose another writer's change, and only the lines a change
// concerns change.
#include "conf.hpp"
#include "diff.hpp"

#include <iostream>
#include <new>

namespace {

using namespace conf;

constexpr const char *kHelpText = "\n"
                                  "get prints a value, set sets it (adding the key, section or file), del removes\n"
                                  "it; keys, sections and dump list what the file holds; merge sets the KEY=VALUE\n"
                                  "lines of standard input, apply runs the commands on its lines (set, del and the\n"
                                  "section commands, without FILE), all in one commit. With -s a command works on\n"
                                  "a [SECTION], without it on the lines before the first section. Only the lines\n"
                                  "a change concerns change. --dry-run prints the change as a unified diff and\n"
                                  "writes nothing. FMT is plain, json or sh.\n"
                                  "Exit status: 0 done, 1 key or section not there, 2 usage error, 3 failure,\n"
                                  "4 the condition of --if-value or --if-absent not met (nothing written).\n";

// The file as read and as it stands, as a diff; nothing is written.
Exit ShowChange(const char *file, velkc::file::Edit &edit)
{
    const velkc::Result<std::string> before = edit.text(true);
    const velkc::Result<std::string> after = edit.text(false);
    if (!before || !after) {
        return Fail(file, before ? after.error() : before.error());
    }
    PrintUnifiedDiff(std::cout, file, *before, *after);
    return kOk;
}

Exit Run(const Command &command, std::span<char *const> args)
{
    Options options;
    if (Exit status = ParseOptions(command, args, options); status != kOk) {
        return status;
    }
    if (args.size() != command.operands + 1) {
        return Usage("wrong number of arguments for " + std::string(command.name));
    }
    const char *file = args[0];
    try {
        velkc::Result<velkc::file::Edit> edit = velkc::file::Edit::open(file, command.creates ? 0 : EDIT_FLAG_EXISTING);
        if (!edit) {
            return Fail(file, edit.error());
        }
        const Exit status = command.run(Context{file, *edit, options, args.subspan(1)});
        if (status != kOk || !command.changes) {
            return status;
        }
        if (options.dryRun) {
            return ShowChange(file, *edit);
        }
        const velkc::Result<bool> written = edit->commit();
        return written ? kOk : Fail(file, written.error());
    } catch (const std::bad_alloc &) {
        return Fail(file, velkc::make_error_code(velkc::errc::out_of_memory));
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
        std::cout << "velkc-conf " VELKC_CONF_VERSION "\n";
        return kOk;
    }
    const Command *command = FindCommand(name);
    if (command == nullptr) {
        return Usage("unknown command " + std::string(name));
    }
    return Run(*command, args.subspan(1));
}

} // namespace

int main(int argc, char **argv)
{
    const Exit status = Dispatch(std::span<char *const>(argv + 1, static_cast<std::size_t>(argc - 1)));
    // A value that did not reach its reader whole must not look like success.
    if (!(std::cout << std::flush)) {
        return Fail("standard output", velkc::make_error_code(velkc::errc::write_failed));
    }
    return status;
}
