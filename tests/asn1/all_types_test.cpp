// The check that kAllTypes and kCodeRuns name the same types in the same order.
#include "asn1/all_types.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/compile_time_checks.h"

namespace qex::test {
namespace {

constexpr const char* kAnother = "kAllTypes has another type, or none, where kCodeRuns names this one";

using Types = std::vector<const Type*>;
Types all_types() {
  return {std::begin(kAllTypes), std::end(kAllTypes)};
}
std::string list_refusal(const Types& types) {
  return RefusalOf([&] { (void)all_types_are_listed(types); });
}

TEST(AllTypes, AreThoseOfTheCodesInTheirOrder) {
  EXPECT_EQ(list_refusal(all_types()), "");
}

TEST(AllTypes, TwoTypesThatChangePlacesAreRefused) {
  Types types = all_types();
  std::swap(types[5], types[6]);
  EXPECT_EQ(list_refusal(types), kAnother);
}

TEST(AllTypes, ATypeThatIsMissingIsRefused) {
  Types inTheMiddle = all_types();
  inTheMiddle.erase(inTheMiddle.begin() + 5);
  EXPECT_EQ(list_refusal(inTheMiddle), kAnother);
  Types atTheEnd = all_types();
  atTheEnd.pop_back();
  EXPECT_EQ(list_refusal(atTheEnd), kAnother);
}

TEST(AllTypes, ATypeTooManyIsRefused) {
  Types types = all_types();
  types.push_back(types.back());
  EXPECT_EQ(list_refusal(types), "kAllTypes lists a type twice");
}

}  // namespace
}  // namespace qex::test
