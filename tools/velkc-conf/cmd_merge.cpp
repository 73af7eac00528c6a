// velkc-conf merge: set the KEY=VALUE lines of standard input, split and
// trimmed as the readers split a line; blank and comment lines are skipped,
// a later line of a key wins.
#include "conf.hpp"

#include <iostream>

namespace conf {

namespace {

bool IsSkippedInput(std::string_view line)
{
    return line.find_first_not_of(" \t\r") == std::string_view::npos || line.starts_with('#') || line.starts_with(';');
}

} // namespace

Exit Merge(const Context &context)
{
    velkc::List pair(VELKCSzListAlloc(0));
    std::string line;
    for (int number = 1; std::getline(std::cin, line); ++number) {
        if (IsSkippedInput(line)) {
            continue;
        }
        const std::string where = "standard input, line " + std::to_string(number);
        if (line.find('\0') != std::string::npos) {
            return Fail(context.file, velkc::make_error_code(velkc::errc::bad_parameters), where + ": NUL byte");
        }
        if (!pair.get()) {
            return Fail(context.file, velkc::make_error_code(velkc::errc::out_of_memory));
        }
        VELKCSzListRemoveAll(pair.get());
        if (VELKCStrSepPair(line.c_str(), pair.address()) < 0) {
            return Fail(context.file, velkc::last_error(), where + ": not KEY=VALUE");
        }
        if (std::error_code error =
                context.edit.set(context.options.section, pair.get()->pszItem[0], pair.get()->pszItem[1])) {
            return Fail(context.file, error, where);
        }
    }
    if (std::cin.bad()) {
        return Fail(context.file, velkc::make_error_code(velkc::errc::read_failed), "standard input");
    }
    return kOk;
}

} // namespace conf
