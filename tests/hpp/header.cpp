// qex.hpp compiles with nothing before it, and a second time.
#include "qex.hpp"

static_assert(std::is_same_v<qex::sha256, qex::v1::sha256>);
