// error: an OPTIONAL value without octets of its own is held by a pointer
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnBool flag;
};
constexpr auto kRow = may(FIELD(Record, flag), kAsnBool);

}  // namespace
}  // namespace qex
