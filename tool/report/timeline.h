// The times of a message on lines.
#pragma once

#include <cstdint>
#include <string>

#include "tool/base/json_fwd.h"

namespace qex::tool {

// TimelineOf draws, as inline SVG that is as wide as its place, the validity periods of the certificates with
// genTime among them, and the interval around genTime that the clock's accuracy leaves. `now` is when the
// report is made. Empty when the message has neither.
std::string TimelineOf(const Json& shown, int64_t now, size_t number);

}  // namespace qex::tool
