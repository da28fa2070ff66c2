// Timing attributes as numbers and texts: durations in seconds, points in time as UTC text.
#pragma once

#include <cstddef>

#include "asn1/timing.h"

namespace qex {

inline constexpr size_t kTimeTextSize = 16;  // YYYYMMDDhhmmssZ and the terminator

// DurationSeconds writes a duration in seconds to `*seconds`; false when one of its parts does not
// fit 64 bits, which is then taken as 0. The arithmetic is in single precision, see the source.
[[nodiscard]] bool DurationSeconds(const TimeValue& value, float* seconds);

// TimeToText writes a point in time, counted from 1900, to `text` in the form of a GeneralizedTime without
// fraction, at most kTimeTextSize bytes; bytes after the terminator are unchanged. False, and an empty text,
// for a time before 1969-12-31 12:00:00 or after 2038-01-19 03:14:07 UTC.
[[nodiscard]] bool TimeToText(const TimeValue& value, char* text);

}  // namespace qex
