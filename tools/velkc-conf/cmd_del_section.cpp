// velkc-conf del-section: remove a section; one that is not there is no
// failure.
#include "conf.hpp"

namespace conf {

Exit DelSection(const Context &context)
{
    const std::error_code error = context.edit.remove_section(context.operands[0]);
    return !error || IsAbsence(error) ? kOk : Fail(context.file, error);
}

} // namespace conf
