// velkc-conf apply: run the commands on the lines of standard input, all in
// one commit. A line holds a changing command as on the command line, less
// FILE and --dry-run, its words split as the shell splits them:
//
//     set -s share1 path '/srv/share one'
//     del -s share1 guest
//     rename-section share2 archive
//
// Blank lines and lines that begin with "#" are skipped. The first line
// that fails ends the run; nothing is written then.
#include "conf.hpp"

#include <iostream>
#include <vector>

namespace conf {

namespace {

// Splits a line into words as the shell does: blanks separate them;
// single quotes keep what they enclose; double quotes too, except that a
// backslash in them escapes "\"", "\\", "$" and "`"; a backslash elsewhere
// escapes any byte. False for an unfinished quote or escape.
bool SplitWords(std::string_view line, std::vector<std::string> &words)
{
    std::string word;
    bool inWord = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r') {
            if (inWord) {
                words.push_back(std::move(word));
                word.clear();
                inWord = false;
            }
            continue;
        }
        inWord = true;
        if (c == '\'') {
            const std::size_t close = line.find('\'', i + 1);
            if (close == std::string_view::npos) {
                return false;
            }
            word.append(line.substr(i + 1, close - i - 1));
            i = close;
        } else if (c == '"') {
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                const bool escape = line[i] == '\\' && i + 1 < line.size() &&
                                    std::string_view("\"\\$`").find(line[i + 1]) != std::string_view::npos;
                word += line[escape ? ++i : i];
            }
            if (i == line.size()) {
                return false;
            }
        } else if (c == '\\') {
            if (++i == line.size()) {
                return false;
            }
            word += line[i];
        } else {
            word += c;
        }
    }
    if (inWord) {
        words.push_back(std::move(word));
    }
    return true;
}

bool IsSkipped(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string_view::npos || line[first] == '#';
}

// A command that may stand on a line: one that changes the file, other
// than the two that read standard input themselves.
const Command *LineCommand(std::string_view name)
{
    const Command *command = FindCommand(name);
    return command != nullptr && command->changes && name != "merge" && name != "apply" ? command : nullptr;
}

} // namespace

Exit Apply(const Context &context)
{
    std::string line;
    for (int number = 1; std::getline(std::cin, line); ++number) {
        if (IsSkipped(line)) {
            continue;
        }
        const std::string where = "standard input, line " + std::to_string(number) + ": ";
        std::vector<std::string> words;
        if (!SplitWords(line, words)) {
            return Usage(where + "unfinished quote or escape");
        }
        const Command *command = LineCommand(words[0]);
        if (command == nullptr) {
            return Usage(where + "no command to apply: " + words[0]);
        }
        std::vector<char *> args;
        for (std::string &word : words) {
            args.push_back(word.data());
        }
        Options options;
        const Exit status =
            RunOn(*command, context.file, context.edit, std::span<char *const>(args).subspan(1), options);
        if (status == kOk && options.dryRun) {
            return Usage(where + "--dry-run belongs to the command line");
        }
        if (status != kOk) {
            std::cerr << "velkc-conf: " << where << "not applied\n";
            return status;
        }
    }
    if (std::cin.bad()) {
        return Fail(context.file, velkc::make_error_code(velkc::errc::read_failed), "standard input");
    }
    return kOk;
}

} // namespace conf
