// error: the elements of a list are of no open type
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr SequenceOf kList = {"Policies", kAsnAny};

}  // namespace
}  // namespace qex
