// Places are percentages of the width, so that text keeps its size on every screen.
#include "tool/report/timeline.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "tool/base/json.h"
#include "tool/message/gen_time.h"
#include "tool/report/facts.h"
#include "tool/report/markup.h"

namespace qex::tool {
namespace {

constexpr size_t kMostPeriods = 12;
constexpr size_t kPeriodColumns = 38;
constexpr int64_t kDay = 86400;
constexpr int64_t kYear = 31556952;        // seconds
constexpr int64_t kFarthest = 50 * kYear;  // from genTime; what is beyond ends in an arrow
constexpr int kTop = 44;                   // the label of genTime
constexpr int kPeriod = 56;                // name, dates and bar
constexpr int kAxis = 26;
constexpr int64_t kMillion = 1000000;
constexpr double kWidestAccuracy = 1e9;  // seconds

struct Period {
  std::string name;
  std::string from;
  std::string until;
  int64_t start;
  int64_t end;
};

struct Scale {
  int64_t first;
  int64_t last;

  // Hundredths of a percent; the ends keep a distance from the border.
  [[nodiscard]] int place(int64_t time) const {
    constexpr double kBorder = 200;
    const double part =
        double(std::clamp(time, first, last) - first) / double(std::max<int64_t>(last - first, 1));
    return int(kBorder + part * (10000 - 2 * kBorder));
  }
};

std::string percent(int hundredths) {
  const std::string digits = std::to_string(100 + hundredths % 100).substr(1);
  return std::to_string(hundredths / 100) + "." + digits + "%";
}

const char* anchor_at(int place) {
  return place < 3300 ? "start" : place > 6700 ? "end" : "middle";
}

std::string words(const std::string& x, int y, const char* style, const char* anchor,
                  const std::string& text) {
  return "<text x=\"" + x + "\" y=\"" + std::to_string(y) + "\" class=\"" + style + " " + anchor + "\">" +
         Markup(text) + "</text>";
}

std::string upright(int place, int from, int to, const char* style) {
  return "<line x1=\"" + percent(place) + "\" x2=\"" + percent(place) + "\" y1=\"" + std::to_string(from) +
         "\" y2=\"" + std::to_string(to) + "\" class=\"" + style + "\"/>";
}

std::string level(int from, int to, int y, const char* style) {
  return "<line x1=\"" + percent(from) + "\" x2=\"" + percent(to) + "\" y1=\"" + std::to_string(y) +
         "\" y2=\"" + std::to_string(y) + "\" class=\"" + style + "\"/>";
}

// A name that is too wide loses its first attributes: the last one distinguishes it from others of the same
// maker.
std::string short_name(std::string name) {
  bool cut = false;
  for (size_t at = name.find(", "); at != std::string::npos && name.size() > kPeriodColumns;
       at = name.find(", ")) {
    name.erase(0, at + 2);
    cut = true;
  }
  return Abridged((cut ? "… " : "") + name, kPeriodColumns);
}

void add_period(std::vector<Period>& periods, const Json& holder, const std::string& name) {
  const std::string from = TextOf(holder, "not_before");
  const std::string until = TextOf(holder, "not_after");
  const auto start = SecondsOf(from);
  const auto end = SecondsOf(until);
  if (start && end && *start <= *end) periods.push_back({name, from, until, *start, *end});
}

// The signer's certificate and its issuers first.
std::vector<Period> periods_of(const Json& shown) {
  std::vector<Period> periods;
  const CertificatePath path = PathOf(shown);
  for (const Json* certificate : path.certificates) {
    add_period(periods, *certificate, SubjectName(*certificate));
  }
  if (const Json* others = PartOf(shown, "certificates")) {
    for (const Json& certificate : *others) {
      const bool drawn = std::ranges::find(path.certificates, &certificate) != path.certificates.end();
      if (!drawn) add_period(periods, certificate, SubjectName(certificate));
    }
  }
  const bool alone = TextOf(shown, "kind") == "attribute certificate";
  if (const Json* attributes = alone ? &shown : PartOf(shown, "time_attribute_certificate")) {
    add_period(periods, *attributes, "time attribute certificate");
  }
  return periods;
}

Scale scale_of(const std::vector<Period>& periods, std::optional<int64_t> time) {
  Scale scale{periods.front().start, periods.front().end};
  for (const Period& period : periods) {
    scale.first = std::min(scale.first, period.start);
    scale.last = std::max(scale.last, period.end);
  }
  if (time) scale = {std::min(scale.first, *time), std::max(scale.last, *time)};
  const int64_t middle = time.value_or(scale.first);
  return {std::max(scale.first, middle - kFarthest), std::min(scale.last, middle + kFarthest)};
}

std::string relation(const Period& period, std::optional<int64_t> time) {
  if (!time) return "";
  return *time < period.start ? ", begins after genTime"
         : *time > period.end ? ", ended before genTime"
                              : ", covers genTime";
}

std::string drawn_period(const Period& period, const Scale& scale, std::optional<int64_t> time, int y) {
  const bool covers = !time || (*time >= period.start && *time <= period.end);
  const std::string dates = period.from.substr(0, 10) + " to " + period.until.substr(0, 10);
  std::string svg = words("0", y + 14, "name", "start", short_name(period.name));
  svg += words("0", y + 31, "line", "start", dates + relation(period, time));
  int from = scale.place(period.start);
  int to = scale.place(period.end);
  if (to - from < 40) to = from + 40;  // a bar that can be seen
  svg += level(from, to, y + 43, covers ? "bar" : "bar outside");
  if (period.start < scale.first) svg += words("0", y + 47, "line", "start", "‹");
  if (period.end > scale.last) svg += words("100%", y + 47, "line", "end", "›");
  return svg + "\n";
}

std::string drawn_axis(const Scale& scale, int y) {
  const bool clock = scale.last - scale.first < 4 * kDay;
  std::string svg = level(scale.place(scale.first), scale.place(scale.last), y, "axis");
  for (int i = 0; i < 4; ++i) {
    const int64_t time = scale.first + (scale.last - scale.first) / 3 * i;
    const int place = scale.place(i == 3 ? scale.last : time);
    const std::string iso = IsoTime(i == 3 ? scale.last : time);
    svg += upright(place, y - 4, y + 4, "axis");
    svg += words(percent(place), y + 18, "tick",
                 i == 0   ? "start"
                 : i == 3 ? "end"
                          : "middle",
                 clock ? iso.substr(5, 11) : iso.substr(0, 7));
  }
  return svg + "\n";
}

std::string figure(const std::string& name, size_t number, int height, const std::string& title,
                   const std::string& description, const std::string& parts) {
  const std::string id = "f" + std::to_string(number) + "-" + name;
  return "<svg class=\"times\" role=\"img\" width=\"100%\" height=\"" + std::to_string(height) +
         "\" aria-labelledby=\"" + id + "-title\" aria-describedby=\"" + id + "-desc\">\n<title id=\"" + id +
         "-title\">" + title + "</title>\n<desc id=\"" + id + "-desc\">" + Markup(description, 5000) +
         "</desc>\n" + parts + "</svg>\n";
}

std::string drawn_periods(const Json& shown, std::optional<int64_t> time, int64_t now, size_t number) {
  std::vector<Period> periods = periods_of(shown);
  if (periods.empty()) return "";
  const size_t left = periods.size() - std::min(periods.size(), kMostPeriods);
  periods.resize(periods.size() - left, periods.front());
  const Scale scale = scale_of(periods, time);
  const int top = time ? kTop : 20;
  const int bottom = top + int(periods.size()) * kPeriod + 8;
  std::string svg;
  std::string description = "Validity periods.";
  if (now >= scale.first && now <= scale.last) {
    const int place = scale.place(now);
    svg += upright(place, time ? 26 : 16, bottom, "now");
    svg += words(percent(place), time ? 30 : 12, "tick", anchor_at(place), "this report");
  }
  if (time) {
    const int place = scale.place(*time);
    const std::string gen_time = TextOf(*PartOf(shown, "token"), "time");
    svg += upright(place, 18, bottom, "gentime");
    svg += words(percent(place), 12, "label", anchor_at(place), "genTime " + Abridged(gen_time, 30));
    description += " genTime is " + gen_time + ".";
  }
  for (size_t i = 0; i < periods.size(); ++i) {
    svg += drawn_period(periods[i], scale, time, top + int(i) * kPeriod);
    description += " " + Abridged(periods[i].name, kLongestText) + ": " + periods[i].from + " to " +
                   periods[i].until + relation(periods[i], time) + ".";
  }
  svg += drawn_axis(scale, bottom);
  svg = figure("periods", number, bottom + kAxis, "Validity periods of the certificates", description, svg);
  if (left != 0) svg += "<p class=\"left-out\">" + WithCount(left, "period") + " left out.</p>\n";
  return svg;
}

// Microseconds after `seconds`, from the fraction of an ISO time; further digits are cut.
int64_t fraction_of(const std::string& iso) {
  const size_t point = iso.find('.');
  if (point == std::string::npos) return 0;
  int64_t micros = 0;
  for (size_t i = 1; i <= 6; ++i) {
    const char digit = point + i < iso.size() ? iso[point + i] : '0';
    if (digit < '0' || digit > '9') {
      for (; i <= 6; ++i) micros *= 10;
      return micros;
    }
    micros = micros * 10 + (digit - '0');
  }
  return micros;
}

std::string precise(int64_t micros) {
  int64_t seconds = micros / kMillion;
  int64_t rest = micros % kMillion;
  if (rest < 0) {
    rest += kMillion;
    --seconds;
  }
  std::string iso = IsoTime(seconds);
  if (rest != 0) {
    std::string digits = std::to_string(kMillion + rest).substr(1);
    digits.erase(digits.find_last_not_of('0') + 1);
    iso.insert(iso.size() - 1, "." + digits);
  }
  return iso;
}

// "T10:11:12Z" says enough where the day is that of genTime.
std::string clock_of(const std::string& iso, const std::string& day) {
  return iso.starts_with(day) ? iso.substr(11) : iso;
}

std::string drawn_accuracy(const Json& token, int64_t time, size_t number) {
  const Json* accuracy = PartOf(token, "accuracy_seconds");
  const double seconds = accuracy != nullptr && accuracy->is_number() ? accuracy->get<double>() : 0;
  if (!(seconds > 0) || seconds > kWidestAccuracy) {
    return "<p>The token states no accuracy: how far the clock of the authority may be off is left to its "
           "policy.</p>\n";
  }
  const std::string iso = TextOf(token, "time");
  const int64_t middle = time * kMillion + fraction_of(iso);
  const int64_t around = std::llround(seconds * double(kMillion));
  const std::string day = iso.substr(0, 10);
  const std::string earliest = precise(middle - around);
  const std::string latest = precise(middle + around);
  std::string svg = level(800, 9200, 34, "axis") + level(1500, 8500, 34, "bar") +
                    upright(1500, 26, 42, "axis") + upright(8500, 26, 42, "axis") +
                    upright(5000, 20, 48, "gentime");
  svg += words("50%", 13, "label", "middle", "± " + Abridged(TextOf(token, "accuracy"), 24));
  svg += words("0", 64, "line", "start", clock_of(earliest, day));
  svg += words("50%", 64, "line", "middle", "genTime");
  svg += words("100%", 64, "line", "end", clock_of(latest, day));
  return figure(
      "accuracy", number, 72, "The accuracy of the clock",
      "By the token's accuracy the data existed at the latest between " + earliest + " and " + latest + ".",
      svg);
}

}  // namespace

std::string TimelineOf(const Json& shown, int64_t now, size_t number) {
  const Json* token = PartOf(shown, "token");
  const auto time = token == nullptr ? std::nullopt : SecondsOf(TextOf(*token, "time"));
  std::string html = drawn_periods(shown, time, now, number);
  if (time) html += drawn_accuracy(*token, *time, number);
  return html;
}

}  // namespace qex::tool
