// velkc-conf get: print a value.
#include "conf.hpp"
#include "print.hpp"

#include <iostream>

namespace conf {

Exit Get(const Context &context)
{
    const std::string_view key = context.operands[0];
    const velkc::Result<std::string> value = context.edit.get(context.options.section, key);
    if (!value) {
        return IsAbsence(value.error()) ? kAbsent : Fail(context.file, value.error());
    }
    switch (context.options.format) {
    case Format::kPlain:
        std::cout << *value << '\n';
        break;
    case Format::kJson:
        std::cout << JsonString(*value) << '\n';
        break;
    case Format::kShell:
        std::cout << ShellName(key) << '=' << ShellWord(*value) << '\n';
        break;
    }
    return kOk;
}

} // namespace conf
