// Directory names as text, in the form that caller records carry.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ber/list.h"

namespace qex {

// NameToText renders a directory name, a list of relative distinguished names (RFC 5280, 4.1.2.4), as
// "NAME=value;NAME=value" in `size` bytes, all of which are written. Values are copied byte for byte, without
// conversion or escapes. Returns 0, or -1 when an entry did not fit and was left out.
[[nodiscard]] int32_t NameToText(char* text, size_t size, const AsnList* name);

}  // namespace qex
