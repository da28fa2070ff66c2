// qex.h compiles as C++11 with nothing before it, and its functions promise not to throw.
#include "qex.h"

static_assert(noexcept(QEX_GetLastAsnError()), "exports are noexcept");
extern int32_t (*const qex_abi_header_cpp)();
int32_t (*const qex_abi_header_cpp)() = QEX_GetLastAsnError;
