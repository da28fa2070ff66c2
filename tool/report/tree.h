// The ASN.1 of a message as a tree to unfold.
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/base/json_fwd.h"

namespace qex::tool {

// TreeOf renders the member asn1 of the document of `qex show --asn1`. Where it has none, since the library
// has no type for a part, the elements of `octets` are listed by their tags. Bounded in depth and lines; a
// line says what was left out.
std::string TreeOf(const Json& shown, ByteView octets);

}  // namespace qex::tool
