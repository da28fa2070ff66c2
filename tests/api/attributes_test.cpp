// The search for an attribute, and its first value.
#include "api/attributes.h"

#include <gtest/gtest.h>

#include "asn1/oids.h"
#include "tests/support/records.h"

namespace qex::test {
namespace {

class Attributes : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(EnsureAsnInit()); }

  Attribute* attribute(const AsnOid& type, const std::vector<AsnAny*>& values) {
    Attribute* made = records_.make<Attribute>();
    made->type = type;
    made->values = records_.list(values);
    return made;
  }
  AsnAny* digest(AsnOcts* octets) {
    AsnAny* made = records_.make<AsnAny>();
    *made = records_.any(kIdMessageDigest, octets);
    return made;
  }

  Records records_;
  Attribute* const data_ = attribute(kIdData, {});
  Attribute* const first_ = attribute(kIdMessageDigest, {});
  Attribute* const second_ = attribute(kIdMessageDigest, {});
  const AsnList* const list_ = records_.list<Attribute>({data_, first_, second_});
};

TEST_F(Attributes, FindReturnsTheFirstOfAType) {
  EXPECT_EQ(FindAttribute(list_, {kIdMessageDigest}), first_);
  EXPECT_EQ(FindAttribute(list_, {kIdData}), data_);
}

TEST_F(Attributes, FindReturnsTheFirstOfSeveralTypesWhateverTheirOrder) {
  EXPECT_EQ(FindAttribute(list_, {kIdMessageDigest, kIdData}), data_);
  EXPECT_EQ(FindAttribute(list_, {kIdSigningCertificate, kIdMessageDigest}), first_);
}

TEST_F(Attributes, FindReturnsNullWhereThereIsNone) {
  EXPECT_EQ(FindAttribute(list_, {kIdSigningCertificate}), nullptr);
  EXPECT_EQ(FindAttribute(list_, {}), nullptr);
  EXPECT_EQ(FindAttribute(records_.list<Attribute>({}), {kIdData}), nullptr);
  EXPECT_EQ(FindAttribute(nullptr, {kIdData}), nullptr);
}

TEST_F(Attributes, FindComparesWholeIdentifiers) {
  const AsnOid front{kIdMessageDigest.count - 1, kIdMessageDigest.octs};
  EXPECT_EQ(FindAttribute(list_, {front}), nullptr);
}

TEST_F(Attributes, FirstValueIsThatOfTheWantedTypeAlone) {
  AsnOcts* const one = records_.make<AsnOcts>();
  AsnOcts* const two = records_.make<AsnOcts>();
  const Attribute* with_two = attribute(kIdMessageDigest, {digest(one), digest(two)});
  EXPECT_EQ(FirstValueAs<AsnOcts>(with_two, kAnyMessageDigest), one);
  EXPECT_EQ(FirstValueAs<AsnOcts>(with_two, kAnyContentType), nullptr)
      << "another type is never read as this one";
}

TEST_F(Attributes, FirstValueIsNullWithoutAValueOrAnAttribute) {
  Attribute* const without_set = attribute(kIdMessageDigest, {});
  without_set->values = nullptr;
  EXPECT_EQ(FirstValueAs<AsnOcts>(first_, kAnyMessageDigest), nullptr);
  EXPECT_EQ(FirstValueAs<AsnOcts>(without_set, kAnyMessageDigest), nullptr);
  EXPECT_EQ(FirstValueAs<AsnOcts>(nullptr, kAnyMessageDigest), nullptr);
}

}  // namespace
}  // namespace qex::test
