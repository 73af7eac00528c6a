// velkc-conf set: set a value, unless a condition on the old one fails.
#include "conf.hpp"

#include <iostream>

namespace conf {

namespace {

// With --if-value or --if-absent: whether the key holds what was asked.
Exit CheckCondition(const Context &context, std::string_view key)
{
    const Options &options = context.options;
    if (!options.ifValue && !options.ifAbsent) {
        return kOk;
    }
    const velkc::Result<std::string> current = context.edit.get(options.section, key);
    if (!current && !IsAbsence(current.error())) {
        return Fail(context.file, current.error());
    }
    if (options.ifAbsent ? !current : current && *current == *options.ifValue) {
        return kOk;
    }
    std::cerr << "velkc-conf: " << context.file << ": " << key
              << (options.ifAbsent ? " is set" : " does not hold the value given") << '\n';
    return kUnmet;
}

} // namespace

Exit Set(const Context &context)
{
    const std::string_view key = context.operands[0];
    if (Exit status = CheckCondition(context, key); status != kOk) {
        return status;
    }
    if (std::error_code error = context.edit.set(context.options.section, key, context.operands[1])) {
        return Fail(context.file, error);
    }
    return kOk;
}

} // namespace conf
