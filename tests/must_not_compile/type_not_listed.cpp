// error: kAllTypes has another type, or none, where kCodeRuns names this one
#include "asn1/all_types.h"

namespace qex {
namespace {

constexpr std::span<const Type* const> kTooFew(kAllTypes, std::size(kAllTypes) - 1);
static_assert(all_types_are_listed(kTooFew));

}  // namespace
}  // namespace qex
