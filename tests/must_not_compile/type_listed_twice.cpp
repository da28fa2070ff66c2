// error: kAllTypes lists a type twice
#include "asn1/all_types.h"

namespace qex {
namespace {

constexpr auto twice() {
  std::array<const Type*, std::size(kAllTypes) + 1> types{};
  for (size_t i = 0; i < std::size(kAllTypes); ++i) types[i] = kAllTypes[i];
  types.back() = types.front();
  return types;
}
constexpr auto kTwice = twice();
static_assert(all_types_are_listed(kTwice));

}  // namespace
}  // namespace qex
