// error: a row describes a member of another record
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOcts surname;
};
struct Other {
  AsnOcts givenName;
};
constexpr Sequence kRecord = {
    "PersonalName",
    must(FIELD(Record, surname), kPrintableString),
    may(FIELD(Other, givenName), kPrintableString),
};

}  // namespace
}  // namespace qex
