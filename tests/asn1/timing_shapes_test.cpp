// The shapes of the timing attributes: each is decoded to the same records and written back as it came.
#include "asn1/timing_shapes.h"

#include "asn1/attribute.h"
#include "asn1/timing.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;
using namespace sample::timing;

struct AttributeShape {
  const char* name;
  const char* id;
  Octets values;  // with their tag
  int32_t row;
  size_t count;
};

std::vector<AttributeShape> shapes() {
  const Octets m = concat(metrics(1), metrics(2));
  const Octets p = concat(policy("1.2.3"), policy("1.2.4"));
  return {
      {"metrics directly in the SET", kMetricsAttribute, set(m), kAnyTimingMetricsElement, 2},
      {"each value a SET OF metrics", kMetricsAttribute, set(set(m), set()), kAnyTimingMetricsAttribute, 2},
      {"policies directly in the SET", kPolicyAttribute, set(p), kAnyTimingPolicyElement, 2},
      {"each value a SET OF policies", kPolicyAttribute, set(set(p)), kAnyTimingPolicyAttribute, 1},
      {"metrics in the SET of the content type", kMetricsContent, set(m), kAnyTimingMetrics, 2},
      {"metrics in place of the SET", kMetricsContent, metrics(5), kAnyTimingMetricsInPlace, 1},
  };
}

TEST(TimingAttribute, EveryShapeIsWrittenBackAsItCame) {
  for (const AttributeShape& shape : shapes()) {
    SCOPED_TRACE(shape.name);
    const Octets attribute = sequence(oid(shape.id), shape.values);
    Decoded v(NESTED(Attribute), attribute);
    ASSERT_EQ(v.outcome, kDecoded);
    ASSERT_EQ(size_t(v->values->count), shape.count);
    EXPECT_EQ(RowOf(*At<AsnAny>(v->values, 0)), shape.row);
    ExpectRoundTrip(NESTED(Attribute), attribute);
    ExpectRoundTrip(NESTED(AttributeSequence), sequence(attribute, attribute));
  }
}

TEST(TimingAttribute, EveryShapeHoldsTheSameRecords) {
  for (const AttributeShape& shape : shapes()) {
    SCOPED_TRACE(shape.name);
    Decoded v(NESTED(Attribute), sequence(oid(shape.id), shape.values));
    ASSERT_EQ(v.outcome, kDecoded);
    const auto* any = At<AsnAny>(v->values, 0);
    switch (shape.row) {
      case kAnyTimingMetricsElement:
      case kAnyTimingMetrics:
        EXPECT_EQ(ToHex(static_cast<const TimingMetrics*>(any->value)->ntpTime->major), "01");
        break;
      case kAnyTimingMetricsInPlace:
        EXPECT_EQ(ToHex(static_cast<const TimingMetrics*>(any->value)->ntpTime->major), "05");
        break;
      case kAnyTimingMetricsAttribute: {
        const auto* list = static_cast<const AsnList*>(any->value);
        ASSERT_EQ(list->count, 2);
        EXPECT_EQ(ToHex(At<TimingMetrics>(list, 1)->ntpTime->major), "02");
        break;
      }
      case kAnyTimingPolicyElement: {
        const auto* ids = static_cast<const TimingPolicy*>(any->value)->policyID;
        EXPECT_EQ(ToHex(*At<TimingPolicyId>(ids, 0)->policyIdentifier), "2a03");
        break;
      }
      default: {
        const auto* list = static_cast<const AsnList*>(any->value);
        const auto* ids = At<TimingPolicy>(list, 1)->policyID;
        EXPECT_EQ(ToHex(*At<TimingPolicyId>(ids, 0)->policyIdentifier), "2a04");
      }
    }
  }
}

// The shape is chosen for each value by its own tag.
TEST(TimingAttribute, BothShapesMayOccurInOneSet) {
  ExpectRoundTrip(NESTED(Attribute),
                  sequence(oid(kMetricsAttribute), set(metrics(1), set(metrics(2), metrics(3)), metrics(4))));
}

TEST(TimingAttribute, AnEmptySetHasNoShape) {
  for (const char* id : {kMetricsAttribute, kPolicyAttribute, kMetricsContent}) {
    ExpectRoundTrip(NESTED(Attribute), sequence(oid(id), set()));
  }
}

TEST(TimingAttribute, Failures) {
  // Neither a SET nor a SEQUENCE: the registered decoder names itself.
  ExpectRefused(NESTED(Attribute), sequence(oid(kMetricsAttribute), set(null())),
                site_code(kTimingMeticsObj, Site::WrongTag), "BDecTimingMeticsObj: ERROR - wrong tag\n");
  ExpectRefused(NESTED(Attribute), sequence(oid(kPolicyAttribute), set(null())),
                site_code(kTimingPolicyObj, Site::WrongTag), "BDecTimingPolicyObj: ERROR - wrong tag\n");
  ExpectRefused(NESTED(Attribute), sequence(oid(kMetricsContent), set(set(metrics(1)))),
                site_code(kTimingMetrics, Site::WrongTag), "BDecTimingMetrics: ERROR - wrong tag\n");
  ExpectRefused(NESTED(Attribute), sequence(oid(kMetricsContent), null()),
                site_code(kAttribute, Site::Missing, 1));
  ExpectRefused(NESTED(Attribute), sequence(oid(kMetricsContent), sequence(null())),
                site_code(kTimingMetrics, Site::Missing, 0));
  const Octets four = concat(seconds(1), seconds(1), seconds(1), seconds(1));
  ExpectRefused(NESTED(Attribute), sequence(oid(kMetricsContent), sequence(four, set(), hex("00"))),
                site_code(kTimingMetrics, Site::Length));
}

}  // namespace
}  // namespace qex::test
