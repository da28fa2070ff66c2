// error: the rows of kCodeRuns must fall and must not overlap
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr CodeRun kRuns[] = {{"First", -100, -101, "wrongTag length"}, {"Second", -101, -101, "length"}};
static_assert(check_code_runs(kRuns));

}  // namespace
}  // namespace qex
