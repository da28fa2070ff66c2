// Timing attributes of a time attribute certificate: metrics of the authority's clock and its
// timing policy.
//
// One record serves points in time and durations. For ntpTime, expiration and leapTime, major
// counts seconds since 1900-01-01 00:00:00 UTC; for offset, delay, maxOffset and maxDelay it
// counts seconds of the duration. fractionalSeconds are microseconds, sign is a multiplier.
#pragma once

#include "asn1/codec.h"
#include "asn1/ess.h"

namespace qex {

struct TimeValue {
  AsnOcts major;
  AsnOcts fractionalSeconds;
  AsnInt* sign;
};

struct LeapData {
  TimeValue* leapTime;
  AsnInt action;
};

struct TimingMetrics {
  TimeValue* ntpTime;
  TimeValue* offset;
  TimeValue* delay;
  TimeValue* expiration;
  AsnList* leapEvent;  // of LeapData
};

struct TimingPolicyId {
  enum : AsnInt { kInformation, kPolicyIdentifier };
  AsnInt choice;
  union {
    PolicyInformation* policyInformation;
    AsnOid* policyIdentifier;
  };
};

struct TimingPolicy {
  AsnList* policyID;  // of TimingPolicyId
  TimeValue* maxOffset;
  TimeValue* maxDelay;
};

ASN1_TYPE(TimeValue);
ASN1_TYPE(LeapData);
ASN1_TYPE_OF(LeapEvent, AsnList);  // SET OF LeapData
ASN1_TOP_TYPE(TimingMetrics);
// Deliberate: the decoder's name, and so its error text, is spelled without the r.
ASN1_TYPE_OF(TimingMeticsObj, AsnList);  // SET OF TimingMetrics
ASN1_DECODER(TimingMeticsObj, TimingMeticsObj, AsnList);
ASN1_TYPE(TimingPolicyId);
ASN1_TYPE_OF(TimingPolicyIds, AsnList);  // SEQUENCE OF TimingPolicyId
ASN1_TOP_TYPE(TimingPolicy);
ASN1_TYPE_OF(TimingPolicyObj, AsnList);  // SET OF TimingPolicy
ASN1_DECODER(TimingPolicyObj, TimingPolicyObj, AsnList);

}  // namespace qex
