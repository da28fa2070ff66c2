// error: no row of kCodeRuns names this type
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr auto kType = named("Unheard", kAsnOid);

}  // namespace
}  // namespace qex
