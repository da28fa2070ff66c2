// error: an open type is declared with defined_by
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnAny value;
};
constexpr Sequence kRecord = {
    "AttributeTypeAndValue",
    must(FIELD(Record, type), kAsnOid),
    must(FIELD(Record, value), kAsnAny),
};

}  // namespace
}  // namespace qex
