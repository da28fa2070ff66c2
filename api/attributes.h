// Attributes by their type: those that a signer signed (RFC 5652, 5.3), and those of an attribute
// certificate.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "api/frame.h"
#include "asn1/attribute.h"

namespace qex {

// FindAttribute returns the first attribute of a list of Attribute whose type is one of `types`, or null. The
// list may be null.
[[nodiscard]] const Attribute* FindAttribute(const AsnList* attributes, std::initializer_list<AsnOid> types);

// FirstValueAs returns the first value of an attribute as a T when its type was registered under `anyId`,
// else null. The attribute may be null.
template <class T>
[[nodiscard]] T* FirstValueAs(const Attribute* attribute, int32_t anyId) {
  const auto* value = attribute == nullptr ? nullptr : FirstOf<AsnAny>(attribute->values);
  return value == nullptr ? nullptr : ValueAs<T>(*value, anyId);
}

}  // namespace qex
