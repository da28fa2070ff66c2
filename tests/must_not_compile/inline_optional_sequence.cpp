// error: an OPTIONAL value without octets of its own is held by a pointer
#include "asn1/schema.h"

namespace qex {
namespace {

struct Validity {
  AsnOcts notBefore;
  AsnOcts notAfter;
};
constexpr Sequence kValidity = {
    "Validity",
    must(FIELD(Validity, notBefore), kUTCTime),
    must(FIELD(Validity, notAfter), kUTCTime),
};
struct Record {
  Validity validity;
};
constexpr auto kRow = may(FIELD(Record, validity), kValidity);

}  // namespace
}  // namespace qex
