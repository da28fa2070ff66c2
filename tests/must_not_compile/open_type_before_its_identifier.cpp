// error: defined_by names a field that does not come before the open type
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnAny value;
  AsnOid type;
};
constexpr Sequence kRecord = {
    "AttributeTypeAndValue",
    defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny, explicit_tag(0))),
    must(FIELD(Record, type), kAsnOid),
};

}  // namespace
}  // namespace qex
