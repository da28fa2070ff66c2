// error: an ANY is held in the record itself
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnAny* value;
};
constexpr Sequence kRecord = {
    "AttributeTypeAndValue",
    must(FIELD(Record, type), kAsnOid),
    defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny)),
};

}  // namespace
}  // namespace qex
