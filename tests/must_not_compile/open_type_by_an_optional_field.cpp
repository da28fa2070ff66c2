// error: defined_by names a field that may be absent
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnAny value;
};
constexpr Sequence kRecord = {
    "AttributeTypeAndValue",
    may(FIELD(Record, type), kAsnOid),
    defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny, explicit_tag(0))),
};

}  // namespace
}  // namespace qex
