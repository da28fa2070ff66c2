// Conversion of time values, with the civil calendar.
#include "api/timing_values.h"

#include <cstddef>
#include <cstdint>

#include "api/frame.h"

namespace qex {
namespace {

constexpr double kSecondsFrom1900To1970 = 2208988800.0;
constexpr double kEarliest = -43200.0;  // seconds from 1970
constexpr double kLatest = 2147483647.0;
constexpr int32_t kSecondsPerDay = 86400;

struct CivilDate {
  int32_t year;
  int32_t month;
  int32_t day;
};

[[nodiscard]] constexpr bool is_leap(int32_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

[[nodiscard]] constexpr int32_t days_in_month(int32_t year, int32_t month) {
  constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}

// The date `days` after 1970-01-01, of which no more than 68 years are counted.
constexpr CivilDate civil_date(int32_t days) {
  CivilDate date{1970, 1, 1};
  while (days < 0) days += is_leap(--date.year) ? 366 : 365;
  for (int32_t length; days >= (length = is_leap(date.year) ? 366 : 365); days -= length) ++date.year;
  for (int32_t length; days >= (length = days_in_month(date.year, date.month)); days -= length) ++date.month;
  date.day += days;
  return date;
}

// Writes the last N decimal digits of `value`; returns what follows them.
template <size_t N>
char* put_digits(char* text, int32_t value) {
  char* const end = text + N;
  for (char* at = end; at != text; value /= 10) *--at = char('0' + value % 10);
  return end;
}

}  // namespace

bool DurationSeconds(const TimeValue& value, float* seconds) {
  QEX_U64 whole;
  QEX_U64 micros;
  const bool wholeFits = AsnIntToU64(value.major, &whole) == 0;
  const bool microsFit = AsnIntToU64(value.fractionalSeconds, &micros) == 0;
  // Deliberate: each term is rounded to single precision before they are added, and of both
  // numbers the low 32 bits alone count.
  const auto fraction = float(double(micros.low) / 1000000.0);
  *seconds = fraction + float(double(whole.low));
  // Deliberate: a multiplier, not a flag.
  if (value.sign != nullptr) *seconds = float(*value.sign) * *seconds;
  return wholeFits && microsFit;
}

bool TimeToText(const TimeValue& value, char* text) {
  text[0] = '\0';
  QEX_U64 count;
  if (AsnIntToU64(value.major, &count) != 0) return false;
  const double since1970 = double(count.high) * 4294967296.0 + double(count.low) - kSecondsFrom1900To1970;
  if (since1970 < kEarliest || since1970 > kLatest) return false;
  const auto seconds = int32_t(since1970);
  int32_t days = seconds / kSecondsPerDay;
  int32_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --days;
  }
  const CivilDate date = civil_date(days);
  text = put_digits<4>(text, date.year);
  for (const int32_t part : {date.month, date.day, rest / 3600, rest / 60 % 60, rest % 60}) {
    text = put_digits<2>(text, part);
  }
  text[0] = 'Z';
  text[1] = '\0';
  return true;
}

}  // namespace qex
