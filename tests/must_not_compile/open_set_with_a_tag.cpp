// error: an open SET has its own tag and an OBJECT IDENTIFIER
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  ListOf<AsnAny>* values;
};
constexpr OpenSetOf kValues = {"Values", {}};
constexpr Sequence kRecord = {
    "Attribute",
    must(FIELD(Record, type), kAsnOid),
    defined_by(FIELD(Record, type), must(FIELD(Record, values), kValues, explicit_tag(0))),
};

}  // namespace
}  // namespace qex
