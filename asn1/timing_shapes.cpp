// The shapes by identifier, as the engine looks them up.
#include "asn1/timing_shapes.h"

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

}  // namespace

constinit const OpenShape kAttributeShapes[] = {
    {kIdTimingMetricsAttribute, &kTimingMetrics, &kTimingMetricsElement, ShapePlace::Element},
    {kIdTimingPolicyAttribute, &kTimingPolicy, &kTimingPolicyElement, ShapePlace::Element},
    {kIdTimingMetrics, &kTimingMetrics, &kTimingMetricsInPlace, ShapePlace::WholeSet},
};

}  // namespace qex
