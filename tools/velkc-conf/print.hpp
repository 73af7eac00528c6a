// velkc-conf's output: values and names as plain lines, JSON or shell words.
#pragma once

#include "conf.hpp"

#include <ostream>
#include <string>
#include <string_view>

namespace conf {

// A JSON string, quotes included. Bytes that are not UTF-8 stand as the
// code points of the same number, so that any file gives valid JSON.
std::string JsonString(std::string_view text);

// A word the shell reads back as text: in single quotes.
std::string ShellWord(std::string_view text);

// text as a shell variable name: every byte but letters, digits and "_"
// becomes "_", and a name that would start with a digit gets a "_" first.
std::string ShellName(std::string_view text);

// A value as the readers would give it back once written on a line of its
// own: in double quotes where they would otherwise trim it.
std::string AsWritten(std::string_view value);

// Prints items in the format: a line each; a JSON array; a shell word each.
void PrintList(std::ostream &out, Format format, const velkc::List &items);

} // namespace conf
