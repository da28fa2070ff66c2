// The one search for an attribute.
#include "api/attributes.h"

#include <algorithm>

namespace qex {

const Attribute* FindAttribute(const AsnList* attributes, std::initializer_list<AsnOid> types) {
  for (const Attribute* attribute : ElementsOf<Attribute>(attributes)) {
    const auto is_wanted = [&](const AsnOid& type) { return AsnOidEqual(attribute->type, type); };
    if (std::any_of(types.begin(), types.end(), is_wanted)) return attribute;
  }
  return nullptr;
}

}  // namespace qex
