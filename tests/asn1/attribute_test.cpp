// Attributes: an identifier and values of the type registered for it.
#include "asn1/attribute.h"

#include "asn1/ess.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;
using namespace sample::timing;

TEST(Attribute, HoldsValuesOfTheTypeOfItsIdentifier) {
  const Octets attribute = hex("301a 06092a864886f70d010903 310d 060b2a864886f70d0109100104");
  Decoded v(NESTED(Attribute), attribute);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->type), "2a864886f70d010903");
  ASSERT_EQ(v->values->count, 1);
  const auto* value = At<AsnAny>(v->values, 0);
  EXPECT_EQ(RowOf(*value), 70);
  EXPECT_EQ(ToHex(*static_cast<const AsnOid*>(value->value)), "2a864886f70d0109100104");
  ExpectRoundTrip(NESTED(Attribute), attribute);
}

TEST(Attribute, HasAnyNumberOfValues) {
  const Octets time = generalized_time("20260101000000Z");
  for (const Octets& values : {Octets{}, time, concat(time, utc_time("260101000000Z"), time)}) {
    const Octets attribute = sample::attribute("1.2.840.113549.1.9.5", values);
    ExpectRoundTrip(NESTED(Attribute), attribute);
    ExpectRoundTrip(NESTED(Attributes), set(attribute, sample::content_type_attribute()));
    ExpectRoundTrip(NESTED(AttributeSequence), sequence(attribute, sample::content_type_attribute()));
  }
}

TEST(Attribute, Failures) {
  const Octets id = oid("1.2.840.113549.1.9.3");
  ExpectRefused(NESTED(Attribute), sequence(null()), site_code(kAttribute, Site::Missing, 0));
  ExpectRefused(NESTED(Attribute), sequence(id, null()), site_code(kAttribute, Site::Missing, 1));
  ExpectRefused(NESTED(Attribute), sequence(id, set(), null()), site_code(kAttribute, Site::Length));
  ExpectRefused(NESTED(Attribute), sequence(oid("1.2.840.113549.1.9.6"), set(null())), -44,
                "ERROR - ANY Decode routine is NULL\n");
  Decoded wrong(NESTED(Attribute), sequence(id, set(octet_string({}))));
  EXPECT_EQ(wrong.outcome.text, "BDecAttrContentType: ERROR - wrong tag\n");
}

// A SEQUENCE in place of the SET is another shape of one timing attribute only.
TEST(Attribute, ASequenceInPlaceOfTheSetIsRefusedElsewhere) {
  for (const char* id : {"1.2.840.113549.1.9.3", kMetricsAttribute, kPolicyAttribute, "1.2.3"}) {
    ExpectRefused(NESTED(Attribute), sequence(oid(id), metrics(1)), site_code(kAttribute, Site::Missing, 1));
  }
}

TEST(Attribute, ASequenceInPlaceOfTheSetIsRefusedBeforeItsLengthIsRead) {
  const Octets noLength = {0x30, 0x85};
  ExpectRefused(NESTED(Attribute), sequence(oid("1.2.840.113549.1.9.3"), noLength),
                site_code(kAttribute, Site::Missing, 1));
  Decoded metricsThere(NESTED(Attribute), sequence(oid(kMetricsContent), noLength));
  EXPECT_EQ(metricsThere.outcome.text, "BDecLen: ERROR - length overflow\n");
}

}  // namespace
}  // namespace qex::test
