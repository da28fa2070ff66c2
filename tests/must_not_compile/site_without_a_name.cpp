// error: kCodeRuns has another name, or none, where this type has this site
#include "asn1/schema.h"

namespace qex {
namespace {

struct Validity {
  AsnOcts notBefore;
  AsnOcts between;
  AsnOcts notAfter;
};
constexpr Sequence kValidity = {
    "Validity",
    must(FIELD(Validity, notBefore), kUTCTime),
    must(FIELD(Validity, between), kUTCTime),
    must(FIELD(Validity, notAfter), kUTCTime),
};

}  // namespace
}  // namespace qex
