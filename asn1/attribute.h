// Attributes: an identifier and the values that it gives a type to (RFC 5652 section 5.3,
// RFC 5280 appendix A.1).
#pragma once

#include "asn1/codec.h"

namespace qex {

struct Attribute {
  AsnOid type;
  AsnList* values;  // of AsnAny
};

// Descriptors of attribute values that stand otherwise than as elements of the registered
// type: the metrics or policies of a timing attribute directly in the SET, and a single
// TimingMetrics in place of the SET. The descriptor of an AsnAny tells which one was decoded,
// and so the value is written back in the shape it had.
inline constexpr int32_t kAnyTimingMetricsElement = 100;
inline constexpr int32_t kAnyTimingPolicyElement = 101;
inline constexpr int32_t kAnyTimingMetricsInPlace = 102;

ASN1_OPEN_LIST(AttributeValues);  // SET OF ANY DEFINED BY Attribute.type
ASN1_TYPE(Attribute);
ASN1_TYPE_OF(Attributes, AsnList);         // SET OF Attribute
ASN1_TYPE_OF(AttributeSequence, AsnList);  // SEQUENCE OF Attribute

}  // namespace qex
