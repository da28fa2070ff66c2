// error: a row of kCodeRuns leaves the range of the codes of types
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr CodeRun kRuns[] = {{"Last", -677, -678, "wrongTag length"}};
static_assert(check_code_runs(kRuns));

}  // namespace
}  // namespace qex
