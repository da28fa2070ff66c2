// Timing attributes of a time attribute certificate: metrics of the authority's clock and its
// timing policy. The types are the library's own, with EXPLICIT TAGS.
//
// One record serves points in time and durations. For ntpTime, expiration and leapTime, major
// counts seconds since 1900-01-01 00:00:00 UTC; for offset, delay, maxOffset and maxDelay it
// counts seconds of the duration. fractionalSeconds are microseconds, sign is a multiplier.
#pragma once

#include "asn1/codec.h"
#include "asn1/ess.h"

namespace qex {

// TimeValue ::= SEQUENCE {  (of this library)
//   major              INTEGER,
//   fractionalSeconds  INTEGER,
//   sign               INTEGER OPTIONAL }
struct TimeValue {
  AsnOcts major;
  AsnOcts fractionalSeconds;
  AsnInt* sign;
};
inline constexpr Sequence kTimeValue = {
    "TimeValue",
    must(FIELD(TimeValue, major), kBigInteger),
    must(FIELD(TimeValue, fractionalSeconds), kBigInteger),
    may(FIELD(TimeValue, sign), kAsnInt),
};
ASN1_TYPE(TimeValue);

// LeapData ::= SEQUENCE {  (of this library)
//   leapTime  TimeValue,
//   action    INTEGER }
struct LeapData {
  TimeValue* leapTime;
  AsnInt action;
};
inline constexpr Sequence kLeapData = {
    "LeapData",
    must(FIELD(LeapData, leapTime), kTimeValue),
    must(FIELD(LeapData, action), kAsnInt),
};
ASN1_TYPE(LeapData);

// LeapEvent ::= SET OF LeapData  (of this library)
inline constexpr SetOf kLeapEvent = {"LeapEvent", kLeapData};
ASN1_TYPE(LeapEvent);

// TimingMetrics ::= SEQUENCE {  (of this library)
//   ntpTime     TimeValue,
//   offset      TimeValue,
//   delay       TimeValue,
//   expiration  TimeValue,
//   leapEvent   LeapEvent OPTIONAL }
struct TimingMetrics {
  TimeValue* ntpTime;
  TimeValue* offset;
  TimeValue* delay;
  TimeValue* expiration;
  ListOf<LeapData>* leapEvent;
};
inline constexpr Sequence kTimingMetrics = {
    "TimingMetrics",
    Top::Yes,
    must(FIELD(TimingMetrics, ntpTime), kTimeValue),
    must(FIELD(TimingMetrics, offset), kTimeValue),
    must(FIELD(TimingMetrics, delay), kTimeValue),
    must(FIELD(TimingMetrics, expiration), kTimeValue),
    may(FIELD(TimingMetrics, leapEvent), kLeapEvent),
};
ASN1_TOP_TYPE(TimingMetrics);

// TimingMeticsObj ::= SET OF TimingMetrics  (of this library)
inline constexpr SetOf kTimingMeticsObj = {"TimingMeticsObj", kTimingMetrics, Top::Yes};
// Deliberate: the decoder's name, and so its error text, is spelled without the r.
ASN1_TOP_TYPE(TimingMeticsObj);

// TimingPolicyId ::= CHOICE {  (of this library)
//   policyInformation  PolicyInformation,
//   policyIdentifier   OBJECT IDENTIFIER }
struct TimingPolicyId {
  enum : AsnInt { kInformation, kPolicyIdentifier };
  AsnInt choice;
  union {
    PolicyInformation* policyInformation;
    AsnOid* policyIdentifier;
  };
};
inline constexpr Choice kTimingPolicyId = {
    "TimingPolicyId",
    must(FIELD(TimingPolicyId, policyInformation), kPolicyInformation),
    must(FIELD(TimingPolicyId, policyIdentifier), kAsnOid),
};
ASN1_TYPE(TimingPolicyId);

// TimingPolicyIds ::= SEQUENCE OF TimingPolicyId  (of this library)
inline constexpr SequenceOf kTimingPolicyIds = {"TimingPolicyIds", kTimingPolicyId};
ASN1_TYPE(TimingPolicyIds);

// TimingPolicy ::= SEQUENCE {  (of this library)
//   policyID       TimingPolicyIds OPTIONAL,
//   maxOffset  [0] TimeValue OPTIONAL,
//   maxDelay   [1] TimeValue OPTIONAL }
struct TimingPolicy {
  ListOf<TimingPolicyId>* policyID;
  TimeValue* maxOffset;
  TimeValue* maxDelay;
};
inline constexpr Sequence kTimingPolicy = {
    "TimingPolicy",
    Top::Yes,
    may(FIELD(TimingPolicy, policyID), kTimingPolicyIds),
    may(FIELD(TimingPolicy, maxOffset), kTimeValue, explicit_tag(0)),
    may(FIELD(TimingPolicy, maxDelay), kTimeValue, explicit_tag(1)),
};
ASN1_TOP_TYPE(TimingPolicy);

// TimingPolicyObj ::= SET OF TimingPolicy  (of this library)
inline constexpr SetOf kTimingPolicyObj = {"TimingPolicyObj", kTimingPolicy, Top::Yes};
ASN1_TOP_TYPE(TimingPolicyObj);

}  // namespace qex
