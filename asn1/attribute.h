// Attributes: an identifier and the values that it gives a type to (RFC 5652 section 5.3,
// RFC 5280 appendix A.1, a module with EXPLICIT TAGS).
#pragma once

#include "asn1/codec.h"

namespace qex {

// The attribute values that are decoded as another type than the registered one. asn1/timing_shapes.cpp
// lists these attributes.
extern const OpenShape kAttributeShapes[3];

// AttributeValues ::= SET OF AttributeValue  (in Attribute)  -- here: more shapes
inline constexpr OpenSetOf kAttributeValues = {"AttributeValues", kAttributeShapes};
ASN1_OPEN_LIST(AttributeValues);

// Attribute ::= SEQUENCE {  (RFC 5280, A.1)
//   type    AttributeType,
//   values  SET OF AttributeValue }
struct Attribute {
  AsnOid type;
  ListOf<AsnAny>* values;
};
inline constexpr Sequence kAttribute = {
    "Attribute",
    must(FIELD(Attribute, type), kAsnOid),
    defined_by(FIELD(Attribute, type), must(FIELD(Attribute, values), kAttributeValues)),
};
ASN1_TYPE(Attribute);

// SignedAttributes ::= SET OF Attribute  (RFC 5652, 5.3)  -- here: named Attributes
inline constexpr SetOf kAttributes = {"Attributes", kAttribute};
ASN1_TYPE(Attributes);

// AttributeSequence ::= SEQUENCE OF Attribute  (in AttributeCertificateInfo)
inline constexpr SequenceOf kAttributeSequence = {"AttributeSequence", kAttribute};
ASN1_TYPE(AttributeSequence);

}  // namespace qex
