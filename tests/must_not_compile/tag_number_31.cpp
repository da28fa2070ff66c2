// error: a tag number is at most 30
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr Tag kTag = implicit_tag(31);

}  // namespace
}  // namespace qex
