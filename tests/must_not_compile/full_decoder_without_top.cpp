// error: a type with a full decoder is declared with Top::Yes
#include "asn1/codec.h"

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
ASN1_TOP_TYPE(Validity);

}  // namespace
}  // namespace qex
