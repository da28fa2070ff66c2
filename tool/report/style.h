// The style sheet of the report: light, dark and printed, from narrow screens to wide ones.
#pragma once

#include <string_view>

namespace qex::tool {

extern const std::string_view kStyleSheet;

}  // namespace qex::tool
