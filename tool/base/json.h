// JSON as the tool builds it: members stay in the order in which they were set.
#pragma once

#include <nlohmann/json.hpp>

namespace qex::tool {

using Json = nlohmann::ordered_json;

}  // namespace qex::tool
