// Values that the engine releases, and values that it leaves.
#include <gtest/gtest.h>

#include "asn1/cms.h"
#include "asn1/member_access.h"
#include "asn1/timestamp.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"
#include "tests/support/failing_alloc.h"

namespace qex::test {
namespace {

using namespace der;

// holds_nothing returns whether a value keeps no pointer to anything that a decoder allocated.
bool holds_nothing(const Type& t, const void* v);

bool field_holds_nothing(const Field& f, const void* rec) {
  return f.held == Held::Pointer ? ValueOf(rec, f) == nullptr : holds_nothing(*f.type, SlotOf(rec, f));
}

bool holds_nothing(const Type& t, const void* v) {
  switch (t.kind) {
    case Kind::Primitive: return t.codec->free == nullptr || t.codec->absent(v);
    case Kind::Any: return static_cast<const AsnAny*>(v)->value == nullptr;
    case Kind::Sequence:
    case Kind::Set:
      for (const Field& f : t.fields) {
        if (!field_holds_nothing(f, v)) return false;
      }
      return true;
    case Kind::Choice: {
      const auto choice = size_t(*static_cast<const AsnInt*>(v));
      return choice < t.fields.size() && field_holds_nothing(t.fields[choice], v);
    }
    case Kind::ListOf:
    case Kind::OpenList: {
      const auto* list = static_cast<const AsnList*>(v);
      return list->first == nullptr && list->last == nullptr && list->curr == nullptr && list->count == 0;
    }
  }
  return false;
}

template <class R>
void expect_released_once(const Routines<R>& routines, const Type& type, const Octets& octets) {
  SCOPED_TRACE(type.name);
  ASSERT_TRUE(RegisterOpenTypes());
  const long before = LiveBlocks();
  {
    Decoded<R> v(routines, octets);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_FALSE(holds_nothing(type, &v.value));
    FreeValue(type, &v.value);
    EXPECT_TRUE(holds_nothing(type, &v.value));
    FreeValue(type, &v.value);  // and a third time at the end of the block
  }
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Release, MayBeRepeated) {
  expect_released_once(TOP(ContentInfo), kContentInfo, sample::token_with_certificates());
  expect_released_once(TOP(Certificate), kCertificate, sample::certificate());
  expect_released_once(NESTED(PersonalName), kPersonalName, set(hex("800161"), hex("810162")));
  expect_released_once(NESTED(GeneralName), kGeneralName, sample::directory_name("x"));
  expect_released_once(NESTED(Extensions), kExtensions, sequence(sample::extension_list()));
  expect_released_once(NESTED(Attribute), kAttribute, sample::content_type_attribute());
  expect_released_once(NESTED(AlgorithmIdentifier), kAlgorithmIdentifier, sample::sha256());
}

// The structures inside the outermost one are released with it.
TEST(Release, LeavesPointersNull) {
  Decoded v(TOP(TimeStampReq),
            sequence(integer(1), sequence(sample::sha256(), octet_string(hex("0102"))), oid("1.2.3"),
                     integer(5), boolean(true), context(0, sample::extension_list())));
  ASSERT_EQ(v.outcome, kDecoded);
  FreeTimeStampReq(&v.value);
  EXPECT_EQ(v->messageImprint, nullptr);
  EXPECT_EQ(v->reqPolicy.octs, nullptr);
  EXPECT_EQ(v->nonce.octs, nullptr);
  EXPECT_EQ(v->certReq, nullptr);
  EXPECT_EQ(v->extensions, nullptr);
}

// When a SET repeats a field, the first value is released as the second arrives, even if the second is
// refused.
TEST(Release, TheEarlierValueOfARepeatedSetFieldIsFreed) {
  ASSERT_TRUE(RegisterOpenTypes());
  const long before = LiveBlocks();
  {
    Decoded once(NESTED(PersonalName), set(hex("800161"), hex("810162")));
    ASSERT_EQ(once.outcome, kDecoded);
    const long blocks = LiveBlocks() - before;
    Decoded repeated(NESTED(PersonalName),
                     set(hex("800161"), hex("810162"), hex("80026364"), hex("810165"), hex("800166")));
    ASSERT_EQ(repeated.outcome, kDecoded);
    EXPECT_EQ(LiveBlocks() - before, 2 * blocks);
    EXPECT_EQ(TextOf(repeated->surname), "f");
    EXPECT_EQ(TextOf(repeated->givenName), "e");

    Decoded refused(NESTED(PersonalName), set(hex("800161"), hex("80056162")));
    EXPECT_EQ(refused.outcome.code, -20);
    EXPECT_EQ(refused->surname.octs, nullptr);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

// A list can be appended to after it has been decoded: its nodes hold a pointer.
TEST(Release, ADecodedListHasTheElementSizeOfAPointer) {
  Decoded extensions(NESTED(Extensions), sequence(sample::extension_list()));
  Decoded empty(NESTED(Extensions), sequence());
  Decoded open(NESTED(Attribute), sample::content_type_attribute());
  const Octets one = sequence(integer(1), integer(0));
  Decoded in_place(NESTED(Attribute), sequence(oid("1.3.6.1.4.1.601.10.1"), sequence(one, one, one, one)));
  for (const AsnList* list : std::initializer_list<const AsnList*>{&extensions.value, &empty.value,
                                                                   open->values, in_place->values}) {
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->dataSize, int32_t{sizeof(void*)});
  }
}

}  // namespace
}  // namespace qex::test
