// Calendar times by the days of the proleptic Gregorian calendar.
#include "tool/message/gen_time.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace qex::tool {
namespace {

constexpr int64_t kSecondsOfDay = 86400;

[[nodiscard]] bool all_digits(std::string_view text) {
  return text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Reads the number in the first `count` digits of `text` and removes them.
[[nodiscard]] std::optional<int> take_number(std::string_view& text, size_t count) {
  if (text.size() < count || !all_digits(text.substr(0, count))) return std::nullopt;
  int number = 0;
  for (size_t i = 0; i < count; ++i) number = number * 10 + (text[i] - '0');
  text.remove_prefix(count);
  return number;
}

struct Calendar {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

// Seconds since 1970; nothing for a time that no calendar and no clock shows.
[[nodiscard]] std::optional<int64_t> seconds_of(const Calendar& time) {
  using namespace std::chrono;
  const year_month_day date{year{time.year}, month{unsigned(time.month)}, day{unsigned(time.day)}};
  if (time.year < 1 || !date.ok() || time.hour > 23 || time.minute > 59 || time.second > 59) {
    return std::nullopt;
  }
  const int64_t days = sys_days(date).time_since_epoch().count();
  return days * kSecondsOfDay + int64_t{time.hour} * 3600 + int64_t{time.minute} * 60 + time.second;
}

// Reads fields of two digits (four for the year), each after its separator; false where one is missing.
template <size_t kCount>
[[nodiscard]] bool take_fields(std::string_view& text,
                               const std::array<std::pair<int*, char>, kCount>& fields) {
  for (const auto& [field, separator] : fields) {
    if (separator != '\0') {
      if (text.empty() || text[0] != separator) return false;
      text.remove_prefix(1);
    }
    const auto number = take_number(text, field == fields[0].first ? 4 : 2);
    if (!number) return false;
    *field = *number;
  }
  return true;
}

}  // namespace

std::string IsoTime(int64_t seconds) {
  using namespace std::chrono;
  const sys_seconds time{std::chrono::seconds(seconds)};
  const sys_days date = floor<days>(time);
  const year_month_day calendar(date);
  const int64_t rest = (time - date).count();
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(calendar.year()),
                unsigned(calendar.month()), unsigned(calendar.day()), int(rest / 3600), int(rest / 60 % 60),
                int(rest % 60));
  return text;
}

std::optional<GenTime> ParseGenTime(std::string_view text) {
  Calendar time;
  if (!take_fields<6>(text, {{{&time.year, '\0'},
                              {&time.month, '\0'},
                              {&time.day, '\0'},
                              {&time.hour, '\0'},
                              {&time.minute, '\0'},
                              {&time.second, '\0'}}})) {
    return std::nullopt;
  }
  const auto seconds = seconds_of(time);
  if (!seconds || !text.ends_with('Z')) return std::nullopt;
  const std::string_view fraction = text.substr(0, text.size() - 1);
  const bool fractionFits = fraction.empty() || (fraction.size() > 1 && fraction[0] == '.' &&
                                                 all_digits(fraction.substr(1)) && !fraction.ends_with('0'));
  if (!fractionFits) return std::nullopt;
  std::string iso = IsoTime(*seconds);
  iso.insert(iso.size() - 1, fraction);
  return GenTime{*seconds, iso};
}

std::optional<int64_t> ParseIsoTime(std::string_view text) {
  Calendar time;
  if (!take_fields<3>(text, {{{&time.year, '\0'}, {&time.month, '-'}, {&time.day, '-'}}})) {
    return std::nullopt;
  }
  if (text.empty()) return seconds_of(time);
  std::string clock(text);
  if (!clock.ends_with('Z') || clock[0] != 'T') return std::nullopt;
  clock = clock.substr(1, clock.size() - 2);
  if (clock.size() == 5) clock += ":00";
  if (clock.size() != 8 || clock[2] != ':' || clock[5] != ':') return std::nullopt;
  for (const auto& [field, at] : {std::pair{&time.hour, 0}, {&time.minute, 3}, {&time.second, 6}}) {
    std::string_view part = std::string_view(clock).substr(size_t(at), 2);
    const auto number = take_number(part, 2);
    if (!number) return std::nullopt;
    *field = *number;
  }
  return seconds_of(time);
}

}  // namespace qex::tool
