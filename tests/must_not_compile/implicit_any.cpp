// error: a CHOICE or an ANY takes no IMPLICIT tag
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOid type;
  AsnAny value;
};
constexpr auto kRow = defined_by(FIELD(Record, type), must(FIELD(Record, value), kAsnAny, implicit_tag(0)));

}  // namespace
}  // namespace qex
