/* qex.h compiles as C11 with nothing before it. */
#include "qex.h"

int32_t (*const qex_abi_header_c)(void) = QEX_GetLastAsnError;
