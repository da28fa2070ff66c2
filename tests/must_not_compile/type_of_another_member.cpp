// error: a row names a type whose values its member does not hold
#include "asn1/schema.h"

namespace qex {
namespace {

struct Record {
  AsnOcts surname;
};
constexpr auto kRow = must(FIELD(Record, surname), kAsnBits);

}  // namespace
}  // namespace qex
