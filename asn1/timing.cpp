// Tables of the timing attributes.
#include "asn1/timing.h"

namespace qex {

constexpr Field kTimeValueFields[] = {
    must(FIELD(TimeValue, major), kBigInteger),
    must(FIELD(TimeValue, fractionalSeconds), kBigInteger),
    may(FIELD(TimeValue, sign), kAsnInt),
};
constexpr TypeOf<TimeValue> kTimeValue = sequence<TimeValue>("TimeValue", kTimeValueFields);

constexpr Field kLeapDataFields[] = {
    must(FIELD(LeapData, leapTime), kTimeValue),
    must(FIELD(LeapData, action), kAsnInt),
};
constexpr TypeOf<LeapData> kLeapData = sequence<LeapData>("LeapData", kLeapDataFields);
constexpr TypeOf<AsnList> kLeapEvent = set_of("LeapEvent", kLeapData);

constexpr Field kTimingMetricsFields[] = {
    must(FIELD(TimingMetrics, ntpTime), kTimeValue),  must(FIELD(TimingMetrics, offset), kTimeValue),
    must(FIELD(TimingMetrics, delay), kTimeValue),    must(FIELD(TimingMetrics, expiration), kTimeValue),
    may(FIELD(TimingMetrics, leapEvent), kLeapEvent),
};
constexpr TypeOf<TimingMetrics> kTimingMetrics =
    sequence<TimingMetrics>("TimingMetrics", kTimingMetricsFields, Top::Yes);
constexpr TypeOf<AsnList> kTimingMeticsObj = set_of("TimingMeticsObj", kTimingMetrics, Top::Yes);

constexpr Field kTimingPolicyIdAlternatives[] = {
    must(FIELD(TimingPolicyId, policyInformation), kPolicyInformation),
    must(FIELD(TimingPolicyId, policyIdentifier), kAsnOid),
};
constexpr TypeOf<TimingPolicyId> kTimingPolicyId =
    choice<TimingPolicyId>("TimingPolicyId", kTimingPolicyIdAlternatives);
constexpr TypeOf<AsnList> kTimingPolicyIds = sequence_of("TimingPolicyIds", kTimingPolicyId);

constexpr Field kTimingPolicyFields[] = {
    may(FIELD(TimingPolicy, policyID), kTimingPolicyIds),
    may(FIELD(TimingPolicy, maxOffset), kTimeValue, explicit_tag(0)),
    may(FIELD(TimingPolicy, maxDelay), kTimeValue, explicit_tag(1)),
};
constexpr TypeOf<TimingPolicy> kTimingPolicy =
    sequence<TimingPolicy>("TimingPolicy", kTimingPolicyFields, Top::Yes);
constexpr TypeOf<AsnList> kTimingPolicyObj = set_of("TimingPolicyObj", kTimingPolicy, Top::Yes);

}  // namespace qex
