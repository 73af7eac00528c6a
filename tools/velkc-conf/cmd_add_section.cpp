// velkc-conf add-section: add an empty section, only if its name is free.
#include "conf.hpp"

#include <iostream>

namespace conf {

Exit AddSection(const Context &context)
{
    const velkc::Result<bool> added = context.edit.add_section(context.operands[0]);
    if (!added) {
        return Fail(context.file, added.error());
    }
    if (!*added) {
        std::cerr << "velkc-conf: " << context.file << ": section " << context.operands[0] << " exists\n";
        return kUnmet;
    }
    return kOk;
}

} // namespace conf
