// error: a tag number is at most 30
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr Tag kTag{31, Tagging::Implicit, kContextClass};

}  // namespace
}  // namespace qex
