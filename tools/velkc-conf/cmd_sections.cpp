// velkc-conf sections: list the section names in file order.
#include "conf.hpp"
#include "print.hpp"

#include <iostream>

namespace conf {

Exit Sections(const Context &context)
{
    const velkc::Result<velkc::List> names = context.edit.sections();
    if (!names) {
        return Fail(context.file, names.error());
    }
    PrintList(std::cout, context.options.format, *names);
    return kOk;
}

} // namespace conf
