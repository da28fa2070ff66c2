// The bound on replies, over either transport: an authority cannot fill the memory.
#pragma once

#include <cstddef>

namespace qex::tool {

inline constexpr size_t kMaxReply = size_t{1} << 20;

}  // namespace qex::tool
