// error: kCodeRuns names sites that this type does not have, or names them twice
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr AsnInt codes_of_a_type_with_two_rows() {
  constexpr CodeRun kRuns[] = {{"Grown", -100, -101, "wrongTag length"}, {"Grown", -110, -110, "length"}};
  SiteCodes codes("Grown", kRuns);
  const AsnInt code = codes.next("wrongTag");
  codes.next("length");
  codes.finish();
  return code;
}
constexpr AsnInt kCode = codes_of_a_type_with_two_rows();

}  // namespace
}  // namespace qex
