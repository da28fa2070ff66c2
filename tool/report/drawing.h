// The drawing of a message: who signed what.
#pragma once

#include <string>

#include "tool/base/json_fwd.h"

namespace qex::tool {

// DrawingOf draws the way from the data over the imprint and the token to the signer's certificate and its
// issuers as inline SVG, each arrow with the verdict of its check. `number` makes its identifiers unique on
// the page; `verified` is null when nothing was verified. Empty when there is nothing to draw.
std::string DrawingOf(const Json& shown, const Json& verified, size_t number);

}  // namespace qex::tool
