// VELKCFileEditAbort: end a transaction without writing.
#include "edit.hpp"

extern "C" void VELKCFileEditAbort(VELKCFileEdit *pEdit) noexcept { delete pEdit; }
