// JSON as the tool builds it: members stay in the order in which they were set. The one header that reads
// nlohmann's; others forward-declare the type (json_fwd.h).
#pragma once

#include <nlohmann/json.hpp>

#include "tool/base/json_fwd.h"
