// error: a row of kCodeRuns has another last code; a new site takes a row of its own
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr CodeRun kRuns[] = {{"Grown", -100, -101, "wrongTag middle length"}};
static_assert(check_code_runs(kRuns));

}  // namespace
}  // namespace qex
