// Checks and fields as rows.
#include "tool/report/tables.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/base/json.h"
#include "tool/report/facts.h"
#include "tool/report/markup.h"

namespace qex::tool {
namespace {

constexpr size_t kMostElements = 50;  // of a list
constexpr size_t kMostRows = 1500;
constexpr size_t kDeepest = 8;

struct Question {
  const char* name;
  const char* text;
};

// What each check asks (docs/qex.md).
constexpr Question kQuestions[] = {
    {"status", "Did the authority grant the request?"},
    {"request", "Does the token answer the request?"},
    {"imprint", "Is it the digest of the data?"},
    {"nonce", "Is it the number that was sent?"},
    {"policy", "Is it the policy that was asked for?"},
    {"structure", "Is the token built as RFC 3161 demands?"},
    {"time", "Is genTime a time?"},
    {"signature", "Does it verify, with a strong key and digest?"},
    {"signer", "Does the token name its signer, and is it trusted?"},
    {"key_usage", "Is the certificate for time-stamping alone?"},
    {"dates", "Was the certificate valid at genTime?"},
    {"chain", "Does it lead to a trusted root?"},
    {"revocation", "Was no certificate revoked?"},
    {"strict", "Can the strict reader read the token?"},
    {"library", "What could the library not read?"},
    {"clock", "Does the time agree with this machine's clock?"},
};

const char* question_of(const std::string& name) {
  const auto* found = std::ranges::find(kQuestions, std::string_view(name), &Question::name);
  return found == std::end(kQuestions) ? "" : found->text;
}

std::string reader_of(const Json& check) {
  const std::string by = TextOf(check, "by");
  if (by.empty()) return "";
  const char* who = by == "both" ? "both readers" : by == "strict" ? "the strict reader" : "libqex";
  return " <span class=\"by\">by " + std::string(who) + "</span>";
}

std::string verdict_style(const std::string& verdict) {
  return verdict == "pass" || verdict == "fail" || verdict == "note" ? verdict : "skip";
}

std::string scalar(const Json& value) {
  if (value.is_null()) return "<span class=\"none\">none</span>";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  return Markup(value.is_string() ? value.get<std::string>() : value.dump());
}

[[nodiscard]] bool is_list_of_objects(const Json& value) {
  return value.is_array() && !value.empty() && value.front().is_object();
}

[[nodiscard]] bool is_group(const Json& value) {
  return value.is_object() || is_list_of_objects(value);
}

std::string left_out(size_t count) {
  return "<span class=\"left-out\">" + std::to_string(count) +
         " more left out; qex show --json has all.</span>";
}

// Renders objects as groups of rows, as many as there is room for.
class Rows {
 public:
  explicit Rows(std::string prefix) : prefix_(std::move(prefix)) {}

  // Of the members of `object` those whose names are not in `without`, under a title or none.
  void Add(const std::string& title, const Json& object, const std::vector<std::string_view>& without = {}) {
    add_group(title, prefix_, object, without, 0);
  }

  std::string Html() const {
    if (html_.empty()) return "";
    std::string table = "<table class=\"fields\">\n" + html_ + "</table>\n";
    if (dropped_ != 0) table += "<p>" + left_out(dropped_) + "</p>\n";
    return table;
  }

 private:
  static std::string below(const std::string& id, const std::string& name) {
    std::string path = id;
    return path.append("-").append(name);
  }

  [[nodiscard]] bool is_full() const { return rows_ >= kMostRows; }

  void add_group(const std::string& title, const std::string& id, const Json& object,
                 const std::vector<std::string_view>& without, size_t depth) {
    std::string rows;
    for (const auto& [name, value] : object.items()) {
      if (is_group(value) || std::ranges::find(without, std::string_view(name)) != without.end()) continue;
      rows += row(name, below(id, name), value);
    }
    if (!rows.empty()) {
      html_ += "<tbody>\n";
      if (!title.empty()) html_ += "<tr><th colspan=\"2\" scope=\"rowgroup\">" + title + "</th></tr>\n";
      html_ += rows + "</tbody>\n";
    }
    for (const auto& [name, value] : object.items()) {
      if (!is_group(value) || std::ranges::find(without, std::string_view(name)) != without.end()) continue;
      const std::string inner = (title.empty() ? "" : title + " › ") + Markup(LabelOf(name));
      add_groups(inner, below(id, name), value, depth + 1);
    }
  }

  void add_groups(const std::string& title, const std::string& id, const Json& value, size_t depth) {
    if (depth > kDeepest || is_full()) {
      ++dropped_;
    } else if (value.is_object()) {
      add_group(title, id, value, {}, depth);
    } else {
      add_list(title, id, value, depth);
    }
  }

  void add_list(const std::string& title, const std::string& id, const Json& list, size_t depth) {
    const size_t shown = std::min(list.size(), kMostElements);
    for (size_t i = 0; i < shown; ++i) {
      const std::string place = title + " " + std::to_string(i + 1) + " of " + std::to_string(list.size());
      const std::string inner = id + "-" + std::to_string(i);
      if (list[i].is_object()) {
        add_groups(place, inner, list[i], depth);
      } else {
        html_ += "<tbody>\n" + row(place, inner, list[i]) + "</tbody>\n";
      }
    }
    if (list.size() > shown) {
      html_ += "<tbody>\n<tr><td colspan=\"2\">" + title + ": " + left_out(list.size() - shown) +
               "</td></tr>\n</tbody>\n";
    }
  }

  std::string row(const std::string& name, const std::string& id, const Json& value) {
    if (is_full()) {
      ++dropped_;
      return "";
    }
    ++rows_;
    return "<tr><th scope=\"row\">" + Markup(LabelOf(name)) + "</th><td id=\"" + id + "\">" +
           (value.is_array() ? list_of(value) : scalar(value)) + "</td></tr>\n";
  }

  std::string list_of(const Json& list) {
    std::string html = "<ul>";
    const size_t shown = std::min(list.size(), kMostElements);
    rows_ += shown;
    for (size_t i = 0; i < shown; ++i) html += "<li>" + scalar(list[i]) + "</li>";
    if (list.size() > shown) html += "<li>" + left_out(list.size() - shown) + "</li>";
    return html + "</ul>";
  }

  std::string prefix_;
  std::string html_;
  size_t rows_ = 0;
  size_t dropped_ = 0;
};

}  // namespace

std::string ChecksTable(const Json& verified) {
  const Json* checks = PartOf(verified, "checks");
  if (checks == nullptr || checks->empty()) return "";
  std::string table =
      "<table class=\"checks\">\n<thead><tr><th scope=\"col\">verdict</th><th scope=\"col\">check</th>"
      "<th scope=\"col\">finding</th></tr></thead>\n<tbody>\n";
  for (const Json& check : *checks) {
    const std::string verdict = TextOf(check, "verdict");
    const std::string name = TextOf(check, "name");
    table += "<tr><td><span class=\"verdict " + verdict_style(verdict) + "\">" + Markup(verdict) +
             "</span></td><th scope=\"row\">" + Markup(LabelOf(name)) + "<small>" + question_of(name) +
             "</small></th><td>" + "<span>" + Markup(TextOf(check, "text")) + "</span>" + reader_of(check) +
             "</td></tr>\n";
  }
  return table + "</tbody>\n</table>\n";
}

std::string FieldsTable(const Json& shown, size_t number) {
  // How it went comes last.
  constexpr std::string_view kOutcome[] = {"exit", "code", "asn1_error", "error", "hint", "library_messages"};
  std::vector<std::string_view> without{"schema", "command", "asn1"};
  Json outcome = Json::object();
  for (const std::string_view name : kOutcome) {
    without.push_back(name);
    if (shown.contains(name)) outcome[std::string(name)] = shown[std::string(name)];
  }
  Rows rows("f" + std::to_string(number));
  rows.Add("", shown, without);
  rows.Add("reading", outcome);
  return rows.Html();
}

std::string VerdictTable(const Json& verified, size_t number) {
  Json verdict = Json::object();
  for (const char* name : {"subject", "token_file", "indication", "sub_indication", "authority_checked",
                           "ess", "exit", "code", "asn1_error", "error", "hint", "library_messages"}) {
    if (verified.is_object() && verified.contains(name)) verdict[name] = verified[name];
  }
  Rows rows("f" + std::to_string(number) + "-verification");
  rows.Add("", verdict);
  return rows.Html();
}

}  // namespace qex::tool
