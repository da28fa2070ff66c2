// The timing metrics and the timing policy of an attribute certificate.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/tac_reading.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

// tac_with is an attribute certificate of these attributes.
Octets tac_with(const std::vector<AttributeParts>& attributes) {
  AttrCertParts parts;
  parts.attributes = attributes;
  return ByHand(parts);
}
Octets tac_with(const MetricsParts& metrics) {
  return tac_with({MetricsAttribute({{metrics}})});
}
Octets tac_with(const PolicyParts& policy) {
  return tac_with({PolicyAttribute({{policy}})});
}

// --- QEX_GetTAC_TimingMetricsEx ------------------------------------------------------------------

TEST(TimingMetricsEx, AreConvertedToTextsAndSeconds) {
  AttrCertParts parts;
  for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
    const Metrics metrics(tac);
    EXPECT_EQ(metrics.code, QEX_OK);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(Field(metrics->ntpTime), TextAndFill("20240101000000Z", 32));
    EXPECT_EQ(metrics->offset, -0.25f);
    EXPECT_EQ(metrics->delay, 0.5f);
    EXPECT_EQ(Field(metrics->expiration), TextAndFill("20240102000000Z", 32));
    EXPECT_EQ(metrics->leapAction, 0);
    EXPECT_EQ(Field(metrics->leapTime), TextAndFill("", 32));
  }
}

// metrics_of distinguishes metrics by their delay.
MetricsParts metrics_of(int64_t delay) {
  MetricsParts parts;
  parts.delay = Seconds(delay);
  return parts;
}

TEST(TimingMetricsEx, AreTheLastOfTheirAttribute) {
  const struct {
    const char* name;
    AttributeParts attribute;
    float delay;
  } cases[] = {
      {"one", MetricsAttribute({{metrics_of(1)}}), 1},
      {"several", MetricsAttribute({{metrics_of(1), metrics_of(2), metrics_of(3)}}), 3},
      {"nested", MetricsAttribute({{metrics_of(1)}}, Shape::kNested), 1},
      {"nested, several", MetricsAttribute({{metrics_of(1), metrics_of(2)}}, Shape::kNested), 2},
      {"several nested", MetricsAttribute({{metrics_of(1), metrics_of(2)}, {metrics_of(3)}}, Shape::kNested),
       3},
      {"an empty set after it", MetricsAttribute({{metrics_of(1), metrics_of(2)}, {}}, Shape::kNested), 2},
      {"an empty set in front", MetricsAttribute({{}, {metrics_of(2)}}, Shape::kNested), 2},
      // The single-value form takes its first.
      {"single", MetricsAttribute({{metrics_of(1)}}, Shape::kDirect, kSingleMetricsAttribute), 1},
      {"single, several",
       MetricsAttribute({{metrics_of(1), metrics_of(2)}}, Shape::kDirect, kSingleMetricsAttribute), 1},
      {"single, in place", MetricsAttribute({{metrics_of(1)}}, Shape::kInPlace, kSingleMetricsAttribute), 1},
  };
  for (const auto& c : cases) {
    AttrCertParts parts;
    parts.attributes = {PlainAttribute(), PolicyAttribute(), c.attribute};
    for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
      const Metrics metrics(tac);
      EXPECT_EQ(metrics.code, QEX_OK) << c.name;
      EXPECT_EQ(metrics->delay, c.delay) << c.name;
      EXPECT_EQ(FieldText(metrics->ntpTime), "20240101000000Z") << c.name;
    }
  }
}

TEST(TimingMetricsEx, AreOfTheFirstAttributeOfEitherType) {
  const AttributeParts a = MetricsAttribute({{metrics_of(1)}});
  const AttributeParts b = MetricsAttribute({{metrics_of(2)}}, Shape::kInPlace, kSingleMetricsAttribute);
  const AttributeParts c = MetricsAttribute({{metrics_of(3)}}, Shape::kNested);
  EXPECT_EQ(Metrics(tac_with({a, b, c}))->delay, 1.0f);
  EXPECT_EQ(Metrics(tac_with({b, a, c}))->delay, 2.0f);
  EXPECT_EQ(Metrics(tac_with({c, a, b}))->delay, 3.0f);
}

TEST(TimingMetricsEx, AreMissingWhereThereAreNone) {
  const AttributeParts none = MetricsAttribute({}), full = MetricsAttribute();
  const std::vector<AttributeParts> cases[] = {
      {},
      {PlainAttribute()},
      {PlainAttribute(), PolicyAttribute()},
      {none},
      {MetricsAttribute({{}}, Shape::kNested)},
      {MetricsAttribute({{}, {}}, Shape::kNested)},
      {MetricsAttribute({}, Shape::kDirect, kSingleMetricsAttribute)},
      {none, full},  // the first attribute of the type decides
  };
  for (const auto& attributes : cases) {
    const Metrics metrics(tac_with(attributes));
    EXPECT_EQ(metrics.code, QEX_E_MISSING) << "case " << &attributes - cases;
    EXPECT_TRUE(metrics.untouched());
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    const ShortMetrics shorter(tac_with(attributes));
    EXPECT_EQ(shorter.code, QEX_E_MISSING);
    EXPECT_TRUE(shorter.untouched());
  }
}

TEST(TimingMetricsEx, NeedACertificateThatDecodes) {
  for (const Octets& bad : NoAttributeCertificates()) {
    const Metrics metrics(bad);
    EXPECT_EQ(metrics.code, QEX_E_DECODE) << ToHex(bad).substr(0, 40);
    EXPECT_TRUE(metrics.untouched());
    EXPECT_NE(QEX_GetLastAsnError(), 0);
    const ShortMetrics shorter(bad);
    EXPECT_EQ(shorter.code, QEX_E_DECODE);
    EXPECT_TRUE(shorter.untouched());
    const Policy policy(bad);
    EXPECT_EQ(policy.code, QEX_E_DECODE);
    EXPECT_TRUE(policy.untouched());
  }
}

TEST(TimingMetricsEx, NeedTheirPointers) {
  const Octets tac = ByHand(AttrCertParts());
  const uint32_t length = uint32_t(tac.size());
  ASSERT_EQ(Metrics({0x31, 0x00}).code, QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  GuardedRecord<QEX_TIMING_METRICS_EX> full;
  GuardedRecord<QEX_TIMING_METRICS> shorter;
  GuardedRecord<QEX_TIMING_POLICY> policy;
  EXPECT_EQ(QEX_GetTAC_TimingMetricsEx(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetricsEx(full.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetrics(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingMetrics(shorter.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingPolicy(nullptr, tac.data(), length), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTAC_TimingPolicy(policy.get(), nullptr, 0), QEX_E_ARG);
  EXPECT_TRUE(full.untouched());
  EXPECT_TRUE(shorter.untouched());
  EXPECT_TRUE(policy.untouched());
  EXPECT_EQ(QEX_GetLastAsnError(), error);
}

TEST(TimingMetricsEx, RenderTimesWithinTheirLimits) {
  const struct {
    int64_t seconds;
    const char* text;
  } cases[] = {
      {3913056000, "20240101000000Z"},
      {2208988800, "19700101000000Z"},
      {2208988799, "19691231235959Z"},
      {2208945600, "19691231120000Z"},
      {2208945599, ""},
      {4356472447, "20380119031407Z"},
      {4356472448, ""},
      {4294967296, "20360207062816Z"},
      {0, ""},
  };
  for (const auto& c : cases) {
    const int32_t code = c.text[0] == '\0' ? QEX_E_SIZE : QEX_OK;
    MetricsParts parts;
    parts.ntp_time = Seconds(c.seconds);
    const Metrics ntp(tac_with(parts));
    EXPECT_EQ(ntp.code, code) << c.seconds;
    EXPECT_EQ(Field(ntp->ntpTime), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(FieldText(ntp->expiration), "20240102000000Z");
    EXPECT_EQ(ntp->offset, -0.25f);
    EXPECT_EQ(ntp->leapAction, 0);
    EXPECT_EQ(FieldText(ntp->leapTime), "");

    parts = MetricsParts();
    parts.expiration = Seconds(c.seconds);
    const Metrics expiration(tac_with(parts));
    EXPECT_EQ(expiration.code, code) << c.seconds;
    EXPECT_EQ(Field(expiration->expiration), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(FieldText(expiration->ntpTime), "20240101000000Z");

    parts = MetricsParts();
    parts.leaps = {{{Seconds(c.seconds), 7}}};
    const Metrics leap(tac_with(parts));
    EXPECT_EQ(leap.code, code) << c.seconds;
    EXPECT_EQ(Field(leap->leapTime), TextAndFill(c.text, 32)) << c.seconds;
    EXPECT_EQ(leap->leapAction, 7);
  }
}

TEST(TimingMetricsEx, TakeIntegersThatAreTooLongAsZeroAndSaySo) {
  const Octets nine_with_zero = {0, 0, 0, 0, 0, 0, 0, 0, 9}, nine = {1, 0, 0, 0, 0, 0, 0, 0, 9}, ten(10, 0);
  for (const Octets& octets : {nine_with_zero, nine, ten}) {
    const bool fits = octets == nine_with_zero;
    const int32_t code = fits ? QEX_OK : QEX_E_SIZE;
    MetricsParts parts;
    parts.delay = {octets, {0x07, 0xA1, 0x20}, {}};  // 500000 microseconds
    Metrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, code);
    EXPECT_EQ(metrics->delay, fits ? 9.5f : 0.5f);
    EXPECT_EQ(metrics->offset, -0.25f);
    EXPECT_EQ(FieldText(metrics->ntpTime), "20240101000000Z");

    parts = MetricsParts();
    parts.offset = {{0x03}, octets, -1};
    const Metrics offset(tac_with(parts));
    EXPECT_EQ(offset.code, code);
    EXPECT_EQ(offset->offset, fits ? -3.000009f : -3.0f);
    EXPECT_EQ(offset->delay, 0.5f);
  }
  MetricsParts parts;
  parts.ntp_time = {ten, {0}, {}};
  const Metrics time(tac_with(parts));
  EXPECT_EQ(time.code, QEX_E_SIZE);
  EXPECT_EQ(Field(time->ntpTime), TextAndFill("", 32));
  EXPECT_EQ(time->delay, 0.5f);
  EXPECT_EQ(FieldText(time->leapTime), "");
}

TEST(TimingMetricsEx, ComputeInSinglePrecision) {
  // Bits from Python's struct: single(single(F / 1000000) + single(M)) * single(SIGN).
  const struct {
    TimeParts duration;
    uint32_t bits;
  } cases[] = {
      {Seconds(0, 250000, -1), 0xBE800000},
      {Seconds(0, 1), 0x358637BD},
      {Seconds(1), 0x3F800000},
      {Seconds(0, 0, -1), 0x80000000},
      {Seconds(16777217, 0), 0x4B800000},    // 2^24 + 1 is rounded to
                                             // 2^24
      {Seconds(0, 4294967295), 0x458637BD},  // 4294.967295
      {Seconds(4294967301, 0), 0x40A00000},  // 5: the low 32 bits
      {Seconds(5, 0, 2), 0x41200000},        // the sign is a multiplier
      {Seconds(5, 0, 0), 0x00000000},
      {Seconds(-1, 0), 0x437F0000},  // FF is 255
  };
  for (const auto& c : cases) {
    MetricsParts parts;
    parts.delay = c.duration;
    parts.offset = c.duration;
    const Metrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, QEX_OK);
    EXPECT_EQ(std::bit_cast<uint32_t>(metrics->delay), c.bits) << "case " << &c - cases;
    EXPECT_EQ(std::bit_cast<uint32_t>(metrics->offset), c.bits) << "case " << &c - cases;
    PolicyParts policy;
    policy.max_offset = policy.max_delay = c.duration;
    const Policy read(tac_with(policy));
    EXPECT_EQ(std::bit_cast<uint32_t>(read->maxOffset), c.bits) << "case " << &c - cases;
    EXPECT_EQ(std::bit_cast<uint32_t>(read->maxDelay), c.bits) << "case " << &c - cases;
  }
}

TEST(TimingMetricsEx, HoldTheLastLeapEvent) {
  MetricsParts parts;
  parts.leaps = {{{Seconds(3913056000), 1}, {Seconds(3692217600), -1}}};
  const Metrics metrics(tac_with(parts));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(metrics->leapAction, -1);
  EXPECT_EQ(Field(metrics->leapTime), TextAndFill("20170101000000Z", 32));
  // One that cannot be rendered is reported, wherever it is.
  parts.leaps = {{{Seconds(0), 1}, {Seconds(3692217600), 2147483647}}};
  const Metrics first_bad(tac_with(parts));
  EXPECT_EQ(first_bad.code, QEX_E_SIZE);
  EXPECT_EQ(first_bad->leapAction, 2147483647);
  EXPECT_EQ(FieldText(first_bad->leapTime), "20170101000000Z");
  parts.leaps = {{{Seconds(3692217600), 1}, {Seconds(0), 2}}};
  const Metrics last_bad(tac_with(parts));
  EXPECT_EQ(last_bad.code, QEX_E_SIZE);
  EXPECT_EQ(last_bad->leapAction, 2);
  EXPECT_EQ(FieldText(last_bad->leapTime), "");
}

TEST(TimingMetricsEx, LeaveTheLeapEventAloneWhenTheListIsEmpty) {
  MetricsParts parts;
  parts.leaps.emplace();
  const Metrics metrics(tac_with(parts));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(uint32_t(metrics->leapAction), kUnset);
  EXPECT_EQ(Field(metrics->leapTime), Octets(32, Guarded::kFill));
  EXPECT_EQ(FieldText(metrics->expiration), "20240102000000Z");
}

// --- QEX_GetTAC_TimingMetrics --------------------------------------------------------------------

TEST(TimingMetricsShort, AreTheFirstFourOfTheLongForm) {
  const ShortMetrics metrics(ByHand(AttrCertParts()));
  EXPECT_EQ(metrics.code, QEX_OK);
  EXPECT_EQ(Field(metrics->ntpTime), TextAndFill("20240101000000Z", 32));
  EXPECT_EQ(metrics->offset, -0.25f);
  EXPECT_EQ(metrics->delay, 0.5f);
  EXPECT_EQ(Field(metrics->expiration), TextAndFill("20240102000000Z", 32));
}

TEST(TimingMetricsShort, AreUntouchedWhereTheLongFormReports) {
  std::vector<MetricsParts> cut(4);
  cut[0].delay.major = Octets(10, 0);
  cut[1].offset.fraction = Octets(10, 0);
  cut[2].expiration = Seconds(0);
  cut[3].leaps = {{{Seconds(0), 1}}};  // although the short form does not show it
  for (const MetricsParts& parts : cut) {
    const ShortMetrics metrics(tac_with(parts));
    EXPECT_EQ(metrics.code, QEX_E_SIZE);
    EXPECT_TRUE(metrics.untouched());
  }
}

// --- QEX_GetTAC_TimingPolicy ---------------------------------------------------------------------

TEST(TimingPolicy, IsReadIntoAClearedRecord) {
  AttrCertParts parts;
  for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
    const Policy policy(tac);
    EXPECT_EQ(policy.code, QEX_OK);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(Field(policy->policyID), TextAndZeros("1.2.3.4.5", 128));
    EXPECT_EQ(policy->maxOffset, 1.5f);
    EXPECT_EQ(policy->maxDelay, 2.25f);
  }
}

TEST(TimingPolicy, MayLackEveryPart) {
  PolicyParts parts;
  parts.max_offset.reset();
  const Policy no_offset(tac_with(parts));
  EXPECT_EQ(no_offset.code, QEX_OK);
  EXPECT_EQ(std::bit_cast<uint32_t>(no_offset->maxOffset), 0u);
  EXPECT_EQ(no_offset->maxDelay, 2.25f);

  parts = PolicyParts();
  parts.max_delay.reset();
  const Policy no_delay(tac_with(parts));
  EXPECT_EQ(no_delay.code, QEX_OK);
  EXPECT_EQ(no_delay->maxOffset, 1.5f);
  EXPECT_EQ(std::bit_cast<uint32_t>(no_delay->maxDelay), 0u);

  parts = PolicyParts();
  parts.identifiers.reset();
  const Policy no_identifier(tac_with(parts));
  EXPECT_EQ(no_identifier.code, QEX_OK);
  EXPECT_EQ(Field(no_identifier->policyID), Octets(128, 0));
  EXPECT_EQ(no_identifier->maxDelay, 2.25f);

  parts.identifiers.emplace();
  const Policy empty_list(tac_with(parts));
  EXPECT_EQ(empty_list.code, QEX_OK);
  EXPECT_EQ(Field(empty_list->policyID), Octets(128, 0));

  const Policy nothing(tac_with(PolicyParts{std::nullopt, std::nullopt, std::nullopt}));
  EXPECT_EQ(nothing.code, QEX_OK);
  const QEX_TIMING_POLICY cleared{};
  EXPECT_EQ(std::memcmp(&*nothing, &cleared, sizeof cleared), 0);
}

TEST(TimingPolicy, ShowsTheFirstIdentifierOfEitherShape) {
  for (const bool bare : {false, true}) {
    PolicyParts parts;
    parts.identifiers = {{{"1.2.3", bare}, {"1.2.4", !bare}}};
    EXPECT_EQ(FieldText(Policy(tac_with(parts))->policyID), "1.2.3");
  }
}

TEST(TimingPolicy, CutsALongIdentifierWithoutAReport) {
  for (const bool bare : {false, true}) {
    PolicyParts parts;
    parts.identifiers = {{{LongIdentifier(), bare}}};
    const Policy policy(tac_with(parts));
    EXPECT_EQ(policy.code, QEX_OK);
    EXPECT_EQ(FieldText(policy->policyID), LongIdentifier().substr(0, 127));
    EXPECT_EQ(policy->maxOffset, 1.5f);
  }
}

PolicyParts policy_of(const std::string& identifier) {
  PolicyParts parts;
  parts.identifiers = {{{identifier}}};
  return parts;
}

TEST(TimingPolicy, IsTheLastOfItsAttribute) {
  const PolicyParts a = policy_of("1.2.1"), b = policy_of("1.2.2"), c = policy_of("1.2.3");
  const struct {
    const char* name;
    AttributeParts attribute;
    const char* identifier;
  } cases[] = {
      {"one", PolicyAttribute({{a}}), "1.2.1"},
      {"several", PolicyAttribute({{a, b, c}}), "1.2.3"},
      {"nested", PolicyAttribute({{a}}, Shape::kNested), "1.2.1"},
      {"nested, several", PolicyAttribute({{a, b}}, Shape::kNested), "1.2.2"},
      {"several nested", PolicyAttribute({{a, b}, {c}}, Shape::kNested), "1.2.3"},
      {"an empty set after it", PolicyAttribute({{a, b}, {}}, Shape::kNested), "1.2.2"},
      {"an empty set in front", PolicyAttribute({{}, {b}}, Shape::kNested), "1.2.2"},
  };
  for (const auto& each : cases) {
    AttrCertParts parts;
    // The first attribute of the type counts.
    parts.attributes = {MetricsAttribute(), PlainAttribute(), each.attribute,
                        PolicyAttribute({{policy_of("1.2.9")}})};
    for (const Octets& tac : {ByHand(parts), ByEncoders(parts)}) {
      const Policy policy(tac);
      EXPECT_EQ(policy.code, QEX_OK) << each.name;
      EXPECT_EQ(FieldText(policy->policyID), each.identifier) << each.name;
    }
  }
}

TEST(TimingPolicy, IsReportedWhereThereIsNone) {
  AttributeParts empty{kPolicyAttribute, Shape::kDirect, {}, {}, {}};
  const struct {
    std::vector<AttributeParts> attributes;
    int32_t code;
  } cases[] = {
      {{}, QEX_E_MISSING},
      {{PlainAttribute()}, QEX_E_NOPOLICY},
      {{MetricsAttribute(), PlainAttribute()}, QEX_E_NOPOLICY},
      {{empty}, QEX_E_NOPOLICY},
      {{PolicyAttribute({{}}, Shape::kNested)}, QEX_E_NOPOLICY},
      {{PolicyAttribute({{}, {}}, Shape::kNested)}, QEX_E_NOPOLICY},
      {{empty, PolicyAttribute()}, QEX_E_NOPOLICY},
  };
  for (const auto& c : cases) {
    const Policy policy(tac_with(c.attributes));
    EXPECT_EQ(policy.code, c.code) << "case " << &c - cases;
    EXPECT_TRUE(policy.untouched());
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TimingPolicy, TakesIntegersThatAreTooLongAsZeroWithoutAReport) {
  PolicyParts parts;
  parts.max_offset = {Octets(10, 1), {0x07, 0xA1, 0x20}, {}};
  parts.max_delay = {{0x03}, Octets(41, 1), -1};
  const Policy policy(tac_with(parts));
  EXPECT_EQ(policy.code, QEX_OK);
  EXPECT_EQ(policy->maxOffset, 0.5f);
  EXPECT_EQ(policy->maxDelay, -3.0f);
}

// --- All of them ---------------------------------------------------------------------------------

TEST(TacReading, ReportsThatMemoryRanOutAndReleasesAll) {
  AttrCertParts parts;
  MetricsParts leaps;
  leaps.leaps = {{{Seconds(3692217600), 1}}};
  parts.attributes = {PlainAttribute(), MetricsAttribute({{leaps}}, Shape::kNested),
                      PolicyAttribute({{PolicyParts()}}, Shape::kNested)};
  const Octets tac = ByHand(parts);
  const uint32_t length = uint32_t(tac.size());
  const auto try_all = [&](auto record, auto call) {
    decltype(record) filled;
    int32_t code = QEX_E_DECODE;
    size_t allowed = 0;
    for (; code != QEX_OK; ++allowed) {
      ASSERT_LT(allowed, 2000u);
      filled = record;
      const long before = LiveBlocks();
      {
        FailingAlloc failing(allowed);
        code = call(&filled, tac.data(), length);
      }
      ASSERT_EQ(LiveBlocks(), before) << "after " << allowed;
      if (code != QEX_OK) {
        ASSERT_EQ(code, QEX_E_DECODE) << allowed;
        ASSERT_EQ(QEX_GetLastAsnError(), -27) << allowed;
      }
    }
    EXPECT_GT(allowed, 0u);
  };
  QEX_TACINFO_EX info{};
  info.size = sizeof info;
  ASSERT_EQ(CertInfo(tac).code, QEX_OK);
  try_all(info, QEX_GetTAC_CertInfoEx);
  try_all(QEX_TACINFO{}, QEX_GetTAC_CertInfo);
  try_all(QEX_TIMING_METRICS_EX{}, QEX_GetTAC_TimingMetricsEx);
  try_all(QEX_TIMING_METRICS{}, QEX_GetTAC_TimingMetrics);
  try_all(QEX_TIMING_POLICY{}, QEX_GetTAC_TimingPolicy);
}

}  // namespace
}  // namespace qex::test
