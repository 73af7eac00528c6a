// velkc-conf keys: list the keys of a section in file order.
#include "conf.hpp"
#include "print.hpp"

#include <iostream>

namespace conf {

Exit Keys(const Context &context)
{
    const velkc::Result<velkc::List> keys = context.edit.keys(context.options.section);
    if (!keys) {
        return IsAbsence(keys.error()) ? kAbsent : Fail(context.file, keys.error());
    }
    PrintList(std::cout, context.options.format, *keys);
    return kOk;
}

} // namespace conf
