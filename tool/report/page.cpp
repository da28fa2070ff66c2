// The skeleton: head, contents, a section for each file.
#include "tool/report/page.h"

#include "tool/base/hash.h"
#include "tool/message/gen_time.h"
#include "tool/message/message.h"
#include "tool/report/drawing.h"
#include "tool/report/facts.h"
#include "tool/report/markup.h"
#include "tool/report/style.h"
#include "tool/report/tables.h"
#include "tool/report/timeline.h"
#include "tool/report/tree.h"

namespace qex::tool {
namespace {

constexpr size_t kLargestPage = size_t{64} << 20;
constexpr size_t kLongestName = 200;  // of a file, in a heading

// The verdict in words.
struct Banner {
  const char* style;  // pass, fail, skip, note
  const char* word;   // in the table of contents
  std::string headline;
  std::string text;
  std::string next;
};

const char* name_of_reason(const Json& shown) {
  const std::string kind = TextOf(shown, "kind");
  return kind == "request" ? "A request holds no signature: there is nothing to verify."
                           : "The contents are shown as they are; no signature was verified.";
}

const Json* first_failed_check(const Json& verified) {
  const Json* checks = PartOf(verified, "checks");
  if (checks == nullptr) return nullptr;
  for (const Json& check : *checks) {
    if (TextOf(check, "verdict") == "fail") return &check;
  }
  return nullptr;
}

Banner banner_of(const Json& shown, const Json& verified) {
  if (PartOf(shown, "error") != nullptr) {
    return {"fail", "unreadable", "This file cannot be shown.", TextOf(shown, "error"),
            TextOf(shown, "hint")};
  }
  if (!verified.is_object()) return {"note", "shown", "Shown, not verified.", name_of_reason(shown), ""};
  const std::string error = TextOf(verified, "error");
  const std::string hint = TextOf(verified, "hint");
  if (first_failed_check(verified) != nullptr) {
    const std::string sub = TextOf(verified, "sub_indication");
    return {"fail", "fail",
            TextOf(verified, "indication") + (sub.empty() ? "" : ", " + sub) + ": a check says no.", error,
            hint};
  }
  if (PartOf(verified, "checks") == nullptr) {
    const Json* status = PartOf(shown, "status");
    const bool refused = status != nullptr && PartOf(shown, "token") == nullptr;
    return {"fail", refused ? "refused" : "not verified",
            refused ? "The authority refused: there is no time-stamp." : "The token could not be verified.",
            error, hint};
  }
  if (error.empty()) return {"pass", "pass", "All checks pass.", "", ""};
  return {"skip", "unchecked", "Consistent in itself, authority not checked.",
          "Nobody to trust was named: every check that can be made without that passes, but anybody can make "
          "a token "
          "that is consistent in itself.",
          "To check who signed, run qex verify with --ca-file ROOTS.pem or --tsa-cert CERTIFICATE.pem."};
}

std::string rendered(const Banner& banner) {
  std::string html = "<div class=\"banner " + std::string(banner.style) + "\"><strong>" +
                     Markup(banner.headline) + "</strong>\n";
  if (!banner.text.empty()) html += "<p>" + Markup(banner.text) + "</p>\n";
  if (!banner.next.empty()) html += "<p>" + Markup(banner.next) + "</p>\n";
  return html + "</div>\n";
}

std::string titled(const char* title, const std::string& part) {
  return part.empty() ? "" : "<h3>" + std::string(title) + "</h3>\n" + part;
}

std::string section_of(const ReportSubject& subject, const Banner& banner, int64_t now, size_t number) {
  const Json& shown = subject.shown;
  const std::string id = "f" + std::to_string(number);
  const std::string kind = TextOf(shown, "kind");
  std::string html = "<section class=\"file\" id=\"" + id + "\" aria-labelledby=\"" + id +
                     "-name\">\n<h2 id=\"" + id + "-name\"><bdi>" +
                     Markup(TextOf(shown, "subject"), kLongestName) + "</bdi>";
  if (!kind.empty()) html += " <span class=\"kind-of-file\">" + Markup(kind) + "</span>";
  html += "</h2>\n" + rendered(banner);
  const std::string left = titled("Who signed what", DrawingOf(shown, subject.verified, number)) +
                           titled("Times", TimelineOf(shown, now, number));
  const std::string right = titled("Checks", ChecksTable(subject.verified));
  if (!left.empty() || !right.empty()) {
    html += "<div class=\"sides\">\n<div>\n" + left + "</div>\n<div>\n" + right + "</div>\n</div>\n";
  }
  html += titled("Contents", FieldsTable(shown, number));
  html += titled("Verification", VerdictTable(subject.verified, number));
  return html + TreeOf(shown, subject.octets) + "</section>\n";
}

std::string row_of_contents(const Json& shown, const Banner& banner, size_t number, bool linked) {
  const std::string name = "<bdi>" + Markup(TextOf(shown, "subject"), kLongestName) + "</bdi>";
  const Json* token = PartOf(shown, "token");
  return "<tr><th scope=\"row\">" +
         (linked ? "<a href=\"#f" + std::to_string(number) + "\">" + name + "</a>" : name) + "</th><td>" +
         Markup(TextOf(shown, "kind")) + "</td><td>" +
         (token == nullptr ? "" : Markup(TextOf(*token, "time"), 40)) + "</td><td><span class=\"verdict " +
         banner.style + "\">" + banner.word + "</span></td></tr>\n";
}

std::string head_of(const std::string& title) {
  const std::string style(kStyleSheet);
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; base-uri 'none'; "
         "form-action 'none'; "
         "style-src 'sha256-" +
         ToBase64(Sha256(OctetsOf(style))) +
         "'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<meta name=\"color-scheme\" content=\"light "
         "dark\">\n"
         "<title>" +
         title + "</title>\n<style>" + style + "</style>\n</head>\n<body>\n";
}

}  // namespace

void ReportPage::Add(const ReportSubject& subject) {
  ++files_;
  const Banner banner = banner_of(subject.shown, subject.verified);
  const bool linked = sections_.size() < kLargestPage;
  contents_ += row_of_contents(subject.shown, banner, files_, linked);
  if (files_ == 1) title_ = Markup(TextOf(subject.shown, "subject"), kLongestName);
  if (linked) {
    sections_ += section_of(subject, banner, now_, files_);
  } else {
    ++unshown_;
  }
}

std::string ReportPage::Html() const {
  const std::string title = "qex report: " + (files_ == 1 ? title_ : WithCount(files_, "file"));
  std::string html =
      head_of(title) + "<header>\n<h1>Time-stamp report</h1>\n<p>Made by qex " QEX_TOOL_VERSION " at " +
      IsoTime(now_) + ", of " + WithCount(files_, "file") + ". All times are UTC.</p>\n</header>\n<main>\n";
  if (files_ > 1) {
    html +=
        "<section class=\"contents\" aria-label=\"Files\">\n<table class=\"files\">\n<thead><tr><th "
        "scope=\"col\">file</th>"
        "<th scope=\"col\">kind</th><th scope=\"col\">time</th><th "
        "scope=\"col\">verdict</th></tr></thead>\n<tbody>\n" +
        contents_ + "</tbody>\n</table>\n";
    if (unshown_ != 0) {
      html += "<p class=\"left-out\">" + WithCount(unshown_, "file") +
              " left out below, as the page is full; show fewer files on one page.</p>\n";
    }
    html += "</section>\n";
  }
  return html + sections_ +
         "</main>\n<footer>\n<p>Names, texts and numbers are as the messages state them. Control, direction "
         "and invisible "
         "characters are written as escapes such as \\x1b, and long texts are cut. Arrows between "
         "certificates follow "
         "names; no root was trusted to make this page. qex show --json and qex verify --json print the same "
         "facts.</p>\n"
         "</footer>\n</body>\n</html>\n";
}

}  // namespace qex::tool
