// error: a type's name is at most 64 characters long
#include "asn1/schema.h"

namespace qex {
namespace {

constexpr auto kType = named("AnIdentifierThatIsLongerThanTheTextOfTheWrongTagErrorHasAnRoomFor", kAsnOid);

}  // namespace
}  // namespace qex
