// error: kCodeRuns has another name, or none, where this type has this site
#include "asn1/schema.h"

namespace qex {
namespace {

struct Validity {
  AsnOcts notBefore;
  AsnOcts notAfter;
};
constexpr Sequence kValidity = {
    "Validity",
    must(FIELD(Validity, notAfter), kUTCTime),
    must(FIELD(Validity, notBefore), kUTCTime),
};

}  // namespace
}  // namespace qex
