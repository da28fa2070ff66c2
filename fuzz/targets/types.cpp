// The engine, through the types that have a full decoder. The first two octets choose the type;
// fuzz/support/values.h describes the checks.
#include <algorithm>
#include <vector>

#include "asn1/all_types.h"
#include "fuzz/support/values.h"

namespace qex::fuzz {
namespace {

// A type's number in the corpus is its first error code without the sign, which never changes.
struct Numbered {
  unsigned number;
  const Type* type;
};

// The types that can be decoded with their tag: a CHOICE has the tags of its alternatives.
std::vector<Numbered> numbered_types() {
  std::vector<Numbered> types;
  for (const Type* t : kAllTypes) {
    if (!t->top && t->kind != Kind::Choice) continue;
    const auto run = std::find_if(std::begin(kCodeRuns), std::end(kCodeRuns),
                                  [t](const CodeRun& candidate) { return candidate.type == t->name; });
    types.push_back({unsigned(-run->first), t});
  }
  return types;
}

// Every number chooses a type: one without a type of its own chooses that of the next smaller number.
const Type& type_of(unsigned number) {
  static const std::vector<Numbered> types = numbered_types();
  const unsigned end = unsigned(-kLastTypeCode) + 1;
  const Type* chosen = types.front().type;
  for (const Numbered& t : types) {
    if (t.number <= number % end) chosen = t.type;
  }
  return *chosen;
}

}  // namespace

size_t NotEncodings(View) {
  return 2;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  CheckType(type_of(unsigned{data[0]} << 8 | data[1]), {data + 2, size - 2});
  return 0;
}

}  // namespace qex::fuzz
