// velkc-conf del: remove a key; one that is not there is no failure.
#include "conf.hpp"

namespace conf {

Exit Del(const Context &context)
{
    const velkc::Result<int> removed = context.edit.remove(context.options.section, context.operands[0]);
    return removed || IsAbsence(removed.error()) ? kOk : Fail(context.file, removed.error());
}

} // namespace conf
