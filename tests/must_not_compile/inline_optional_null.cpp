// error: an OPTIONAL value without octets of its own is held by a pointer
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnNull nothing;
};
constexpr auto kRow = may(FIELD(Record, nothing), kAsnNull);

}  // namespace
}  // namespace qex
