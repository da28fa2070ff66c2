// Other shapes that timing attributes occur in.
//
// Some values of attributes are no elements of the registered type: the metrics or policies of a timing
// attribute directly in the SET, and a single TimingMetrics in place of the SET. The descriptor of an AsnAny
// says which one was decoded, and so the value is written back in the shape it had.
#pragma once

#include <cstdint>

namespace qex {

// The anyId of each shape; those of registered types are their rows (asn1/oids.h).
inline constexpr int32_t kAnyTimingMetricsElement = 100;
inline constexpr int32_t kAnyTimingPolicyElement = 101;
inline constexpr int32_t kAnyTimingMetricsInPlace = 102;

}  // namespace qex
