// velkc-conf rename-section: give a section a name that is free.
#include "conf.hpp"

#include <iostream>

namespace conf {

Exit RenameSection(const Context &context)
{
    const std::error_code error = context.edit.rename_section(context.operands[0], context.operands[1]);
    if (error == velkc::errc::section_not_found) {
        return kAbsent;
    }
    if (error == velkc::errc::key_exists) {
        std::cerr << "velkc-conf: " << context.file << ": section " << context.operands[1] << " exists\n";
        return kUnmet;
    }
    return error ? Fail(context.file, error) : kOk;
}

} // namespace conf
