// JSON as it crosses the pipe between a worker and its parent: CBOR (RFC 8949), where octets stay octets.
#pragma once

#include <string>

#include "tool/base/json_fwd.h"

namespace qex::tool {

std::string WireFrom(const Json& json);

// FromWire returns a discarded value for octets that are not CBOR.
Json FromWire(const std::string& octets);

}  // namespace qex::tool
