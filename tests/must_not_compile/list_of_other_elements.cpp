// error: a row names a type whose values its member does not hold
#include "asn1/cms.h"

namespace qex {
namespace {

constexpr auto kRow = may(FIELD(SignedData, certificates), kSignerInfos, implicit_tag(0));

}  // namespace
}  // namespace qex
