// The name of the JSON type, for headers that only mention it.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace qex::tool {

using Json = nlohmann::ordered_json;

}  // namespace qex::tool
