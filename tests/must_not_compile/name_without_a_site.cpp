// error: kCodeRuns names sites that this type does not have, or names them twice
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr AsnInt codes_of_a_type_that_lost_a_site() {
  constexpr CodeRun kRuns[] = {{"Shrunk", -100, -101, "wrongTag gone"}};
  SiteCodes codes("Shrunk", kRuns);
  const AsnInt code = codes.next("wrongTag");
  codes.finish();
  return code;
}
constexpr AsnInt kCode = codes_of_a_type_that_lost_a_site();

}  // namespace
}  // namespace qex
