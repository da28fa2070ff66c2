// error: an open type after an OPTIONAL field has a tag of its own
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnOcts between;
  AsnAny value;
};
constexpr Sequence kRecord = {
    "AttributeTypeAndValue",
    must(FIELD(Record, type), kAsnOid),
    may(FIELD(Record, between), kAsnOcts),
    defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny)),
};

}  // namespace
}  // namespace qex
