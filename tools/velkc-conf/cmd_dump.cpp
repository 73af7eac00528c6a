// velkc-conf dump: every section's keys and values in file order. A name
// that heads several sections stands once, for the first of them, which is
// the one the other commands read and change.
#include "conf.hpp"
#include "print.hpp"

#include <iostream>
#include <set>
#include <vector>

namespace conf {

namespace {

struct Pair {
    std::string key;
    std::string value;
};

struct Part {
    std::optional<std::string> section;
    std::vector<Pair> pairs;
};

// The parts of the file: the lines before the first section when they hold
// pairs, then each section.
std::error_code ReadParts(const velkc::file::Edit &edit, std::vector<Part> &parts)
{
    const velkc::Result<velkc::List> names = edit.sections();
    if (!names) {
        return names.error();
    }
    std::vector<std::optional<std::string>> sections{std::nullopt};
    std::set<std::string_view, std::less<>> seen;
    for (const std::string_view name : *names) {
        if (seen.insert(name).second) {
            sections.emplace_back(name);
        }
    }
    for (const std::optional<std::string> &section : sections) {
        const velkc::Result<velkc::List> keys = edit.keys(section);
        if (!keys) {
            return keys.error();
        }
        Part part{section, {}};
        for (const std::string_view key : *keys) {
            velkc::Result<std::string> value = edit.get(section, key);
            if (!value) {
                return value.error();
            }
            part.pairs.push_back({std::string(key), std::move(*value)});
        }
        if (section || !part.pairs.empty()) {
            parts.push_back(std::move(part));
        }
    }
    return {};
}

void PrintPlain(const std::vector<Part> &parts)
{
    const char *separator = "";
    for (const Part &part : parts) {
        std::cout << separator;
        separator = "\n";
        if (part.section) {
            std::cout << '[' << *part.section << "]\n";
        }
        for (const Pair &pair : part.pairs) {
            std::cout << pair.key << '=' << AsWritten(pair.value) << '\n';
        }
    }
}

void PrintJson(const std::vector<Part> &parts)
{
    std::cout << '[';
    const char *separator = "";
    for (const Part &part : parts) {
        std::cout << separator << "{\"section\":" << (part.section ? JsonString(*part.section) : "null")
                  << ",\"values\":{";
        const char *pairSeparator = "";
        for (const Pair &pair : part.pairs) {
            std::cout << pairSeparator << JsonString(pair.key) << ':' << JsonString(pair.value);
            pairSeparator = ",";
        }
        std::cout << "}}";
        separator = ",";
    }
    std::cout << "]\n";
}

// SECTION__KEY='value', or KEY='value' before the first section.
void PrintShell(const std::vector<Part> &parts)
{
    for (const Part &part : parts) {
        const std::string prefix = part.section ? ShellName(*part.section) + "__" : "";
        for (const Pair &pair : part.pairs) {
            std::cout << prefix << ShellName(pair.key) << '=' << ShellWord(pair.value) << '\n';
        }
    }
}

} // namespace

Exit Dump(const Context &context)
{
    std::vector<Part> parts;
    if (std::error_code error = ReadParts(context.edit, parts)) {
        return Fail(context.file, error);
    }
    switch (context.options.format) {
    case Format::kPlain:
        PrintPlain(parts);
        break;
    case Format::kJson:
        PrintJson(parts);
        break;
    case Format::kShell:
        PrintShell(parts);
        break;
    }
    return kOk;
}

} // namespace conf
