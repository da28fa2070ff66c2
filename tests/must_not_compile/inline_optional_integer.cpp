// error: an OPTIONAL value without octets of its own is held by a pointer
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnInt number;
};
constexpr auto kRow = may(FIELD(Record, number), kAsnInt);

}  // namespace
}  // namespace qex
