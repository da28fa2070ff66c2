// Timing attributes: time values, metrics, leap seconds and policies.
#include "asn1/timing.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const auto kMetricsRoutines = TOP_AS(TimingMeticsObj, TimingMeticsObj);
const auto kTimingPolicyRoutines = TOP_AS(TimingPolicyObj, TimingPolicyObj);

// -0.25 s, and 2024-01-01 in seconds since 1900
const Octets kQuarter = hex("300b 020100 020303d090 0201ff");
const Octets kNewYear2024 = hex("300a 020500e93c7f00 020100");

TEST(TimeValue, SignMayBeAbsent) {
  Decoded v(NESTED(TimeValue), kQuarter);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->major), "00");
  EXPECT_EQ(ToHex(v->fractionalSeconds), "03d090");
  ASSERT_NE(v->sign, nullptr);
  EXPECT_EQ(*v->sign, -1);
  ExpectRoundTrip(NESTED(TimeValue), kQuarter);
  Decoded w(NESTED(TimeValue), kNewYear2024);
  ASSERT_EQ(w.outcome, kDecoded);
  EXPECT_EQ(ToHex(w->major), "00e93c7f00");
  EXPECT_EQ(w->sign, nullptr);
  ExpectRoundTrip(NESTED(TimeValue), kNewYear2024);
}

TEST(TimeValue, PartsOfAnyLengthAreKept) {
  ExpectRoundTrip(NESTED(TimeValue), sequence(big_integer(Octets(40, 0x55)), big_integer(Octets(9, 0x44))));
  Decoded v(NESTED(TimeValue),
            sequence(element(0x22, octet_string(hex("01")), octet_string(hex("02"))), integer(3)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->major), "0102");
}

TEST(TimeValue, Failures) {
  ExpectRefused(NESTED(TimeValue), sequence(null()), site_code(kTimeValue, Site::Missing, 0));
  ExpectRefused(NESTED(TimeValue), sequence(integer(1), null()), site_code(kTimeValue, Site::Missing, 1));
  ExpectRefused(NESTED(TimeValue), sequence(integer(1), integer(2), null()),
                site_code(kTimeValue, Site::Trailing));
  ExpectRefused(NESTED(TimeValue), sequence(integer(1), integer(2), hex("02050100000000")), -7,
                "BDecAsnIntContent: ERROR - integer to big to decode.\n");
}

TEST(LeapData, HasATimeAndAnAction) {
  const Octets leap = sequence(kNewYear2024, integer(-1));
  Decoded v(NESTED(LeapData), leap);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->leapTime->major), "00e93c7f00");
  EXPECT_EQ(v->action, -1);
  ExpectRoundTrip(NESTED(LeapData), leap);
  ExpectRoundTrip(NESTED(LeapEvent), set(leap, leap));
}

TEST(TimingMetrics, LeapEventMayBeAbsent) {
  const Octets four = concat(kNewYear2024, kQuarter, sequence(integer(7), integer(8)), kNewYear2024);
  for (const Octets& leap :
       {Octets{}, set(), set(sequence(kNewYear2024, integer(1)), sequence(kNewYear2024, integer(0)))}) {
    const Octets metrics = sequence(four, leap);
    Decoded v(TOP(TimingMetrics), metrics);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(ToHex(v->ntpTime->major), "00e93c7f00");
    EXPECT_EQ(*v->offset->sign, -1);
    EXPECT_EQ(ToHex(v->delay->major), "07");
    EXPECT_EQ(ToHex(v->expiration->major), "00e93c7f00");
    EXPECT_EQ(v->leapEvent == nullptr, leap.empty());
    ExpectRoundTrip(TOP(TimingMetrics), metrics);
    ExpectRoundTrip(kMetricsRoutines, set(metrics, metrics));
  }
  ExpectRoundTrip(kMetricsRoutines, set());
}

TEST(TimingMetrics, Failures) {
  ExpectWrongTag(TOP(TimingMetrics), "BDecTimingMetrics: ERROR - wrong tag\n", 0x31);
  // Deliberate: the text has no r, and the decoder is strict about its tag.
  ExpectWrongTag(kMetricsRoutines, "BDecTimingMeticsObj: ERROR - wrong tag\n", 0x30);
  Octets before;
  for (size_t i = 0; i < 4; ++i) {
    ExpectRefused(TOP(TimingMetrics), sequence(before, null()), site_code(kTimingMetrics, Site::Missing, i));
    before = concat(before, kNewYear2024);
  }
  ExpectRefused(TOP(TimingMetrics), sequence(before, sequence()), site_code(kTimingMetrics, Site::Trailing));
  ExpectRefused(kMetricsRoutines, set(null()), site_code(kTimingMeticsObj, Site::Unexpected),
                "Unexpected Tag\n");
}

TEST(TimingPolicy, IdentifiersAreBareOrPolicyInformation) {
  const Octets wrapped = hex("3008 3006 3004 06022a03"), bare = hex("3006 3004 06022a03");
  Decoded w(TOP(TimingPolicy), wrapped);
  ASSERT_EQ(w.outcome, kDecoded);
  const auto* id = At<TimingPolicyId>(w->policyID, 0);
  EXPECT_EQ(id->choice, TimingPolicyId::kInformation);
  EXPECT_EQ(ToHex(id->policyInformation->policyIdentifier), "2a03");
  Decoded b(TOP(TimingPolicy), bare);
  ASSERT_EQ(b.outcome, kDecoded);
  id = At<TimingPolicyId>(b->policyID, 0);
  EXPECT_EQ(id->choice, TimingPolicyId::kPolicyIdentifier);
  EXPECT_EQ(ToHex(*id->policyIdentifier), "2a03");
  for (const Octets& policy : {wrapped, bare}) ExpectRoundTrip(TOP(TimingPolicy), policy);
  // both in one list
  ExpectRoundTrip(TOP(TimingPolicy), hex("300c 300a 06022a04 3004 06022a03"));
}

TEST(TimingPolicy, EveryFieldMayBeAbsent) {
  const Octets fields[] = {sequence(oid("1.2.3")), context(0, kQuarter), context(1, kNewYear2024)};
  for (unsigned chosen = 0; chosen < 8; ++chosen) {
    Octets content;
    for (unsigned i = 0; i < 3; ++i) {
      if ((chosen >> i & 1) != 0) content = concat(content, fields[i]);
    }
    Decoded v(TOP(TimingPolicy), sequence(content));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->policyID != nullptr, (chosen & 1) != 0);
    EXPECT_EQ(v->maxOffset != nullptr, (chosen & 2) != 0);
    EXPECT_EQ(v->maxDelay != nullptr, (chosen & 4) != 0);
    ExpectRoundTrip(TOP(TimingPolicy), sequence(content));
    ExpectRoundTrip(kTimingPolicyRoutines, set(sequence(content), sequence(content)));
  }
}

TEST(TimingPolicy, Failures) {
  ExpectWrongTag(kTimingPolicyRoutines, "BDecTimingPolicyObj: ERROR - wrong tag\n", 0x30);
  ExpectRefused(TOP(TimingPolicy), sequence(sequence(null())), site_code(kTimingPolicyIds, Site::Unexpected),
                "Unexpected Tag\n");
  ExpectRefused(TOP(TimingPolicy), sequence(context(0, integer(1))),
                site_code(kTimingPolicy, Site::InnerTag, 1));
  ExpectRefused(TOP(TimingPolicy), sequence(context(1, integer(1))),
                site_code(kTimingPolicy, Site::InnerTag, 2));
  ExpectRefused(TOP(TimingPolicy), sequence(context(2)), site_code(kTimingPolicy, Site::Trailing));
  ExpectRefused(TOP(TimingPolicy), sequence(context(1, kNewYear2024), context(0, kNewYear2024)),
                site_code(kTimingPolicy, Site::Length));
}

}  // namespace
}  // namespace qex::test
