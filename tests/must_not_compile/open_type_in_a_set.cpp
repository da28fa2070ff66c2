// error: an open type is a field of a SEQUENCE, where its identifier comes first
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnAny value;
};
constexpr Set kRecord = {
    "AttributeTypeAndValue",
    must(FIELD(Record, type), kAsnOid),
    defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny, explicit_tag(0))),
};

}  // namespace
}  // namespace qex
