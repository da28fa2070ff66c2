// Table of Attribute, and the shapes in which timing attributes are met.
#include "asn1/attribute.h"

#include "asn1/oids.h"
#include "asn1/timing.h"

namespace qex {
namespace {

template <const auto& T>
constexpr AnyInfo shape_info(int32_t anyId, AsnOid identifier) {
  using R = OpenRoutines<T>;
  return {anyId,     identifier, 0,       sizeof(typename std::remove_cvref_t<decltype(T)>::Value),
          R::encode, R::decode,  R::free, R::print};
}

constexpr AnyInfo kTimingMetricsElement =
    shape_info<kTimingMetrics>(kAnyTimingMetricsElement, kIdTimingMetricsAttribute);
constexpr AnyInfo kTimingPolicyElement =
    shape_info<kTimingPolicy>(kAnyTimingPolicyElement, kIdTimingPolicyAttribute);
constexpr AnyInfo kTimingMetricsInPlace =
    shape_info<kTimingMetrics>(kAnyTimingMetricsInPlace, kIdTimingMetrics);

constexpr OpenShape kTimingShapes[] = {
    {kIdTimingMetricsAttribute, &kTimingMetrics, &kTimingMetricsElement, false},
    {kIdTimingPolicyAttribute, &kTimingPolicy, &kTimingPolicyElement, false},
    {kIdTimingMetrics, &kTimingMetrics, &kTimingMetricsInPlace, true},
};

}  // namespace

constexpr TypeOf<AsnList> kAttributeValues = open_set_of("AttributeValues", kTimingShapes);

constexpr Field kAttributeFields[] = {
    must(FIELD(Attribute, type), kAsnOid),
    defined_by(FIELD(Attribute, type), must(FIELD(Attribute, values), kAttributeValues)),
};
constexpr TypeOf<Attribute> kAttribute = sequence<Attribute>("Attribute", kAttributeFields);
constexpr TypeOf<AsnList> kAttributes = set_of("Attributes", kAttribute);
constexpr TypeOf<AsnList> kAttributeSequence = sequence_of("AttributeSequence", kAttribute);

}  // namespace qex
