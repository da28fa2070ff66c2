// Boxes from top to bottom with an arrow between each two. The drawing is as wide as a narrow screen and
// never scaled, so that its text has the size of the page's. Text is clipped by its box.
#include "tool/report/drawing.h"

#include <string_view>
#include <vector>

#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/report/facts.h"
#include "tool/report/markup.h"

namespace qex::tool {
namespace {

constexpr int kWidth = 352;
constexpr int kMargin = 12;          // of text in a box
constexpr int kLine = 19;            // from line to line
constexpr int kHead = 24;            // the line with a box's kind
constexpr int kArrow = 58;           // from box to box
constexpr size_t kColumns = 44;      // of a line of text
constexpr size_t kNameColumns = 36;  // of a name, which is bold

struct Box {
  const char* kind;
  std::vector<std::string> lines;  // its name first
  const char* style;               // "held" or "lacking"
  size_t names = 1;                // lines that the name takes
};

struct Arrow {
  std::string label;
  std::string verdict;  // a check's: pass, fail, skip
  std::string finding;
};

// Boxes, and the arrow that leads to each but the first.
struct Row {
  std::vector<Box> boxes;
  std::vector<Arrow> arrows;

  void add(Arrow arrow, Box box) {
    arrows.push_back(std::move(arrow));
    boxes.push_back(std::move(box));
  }
};

// Adds a name in at most three lines, broken at blanks; what does not fit is cut.
void append_name(Box& box, const std::string& name) {
  constexpr size_t kMostLines = 3;
  std::string rest = name.empty() ? "(no name)" : name;
  for (size_t i = 1; i < kMostLines && rest.size() > kNameColumns; ++i) {
    const size_t at = rest.rfind(' ', kNameColumns);
    if (at == std::string::npos || at == 0) break;
    box.lines.push_back(Abridged(rest.substr(0, at), kNameColumns));
    rest.erase(0, at + 1);
  }
  box.lines.push_back(Abridged(rest, kNameColumns));
  box.names = box.lines.size();
}

std::string day_of(const std::string& time) {
  return SecondsOf(time) ? time.substr(0, 10) : "?";
}

Box certificate_box(const char* kind, const Json& certificate) {
  Box box{kind, {}, "held"};
  append_name(box, SubjectName(certificate));
  std::string key;
  if (const Json* parts = PartOf(certificate, "key")) {
    key = TextOf(*parts, "type");
    if (const Json* bits = PartOf(*parts, "bits")) key += " " + bits->dump();
  }
  if (!key.empty()) box.lines.push_back(Abridged("key " + key, kColumns));
  box.lines.push_back("valid " + day_of(TextOf(certificate, "not_before")) + " to " +
                      day_of(TextOf(certificate, "not_after")));
  const std::string sha256 = TextOf(certificate, "sha256");
  if (sha256.size() == 64) {
    box.lines.push_back("sha256 " + sha256.substr(0, 16) + "…" + sha256.substr(48));
  }
  return box;
}

Arrow arrow_of(const char* label, const Json& verified, const char* name) {
  const Json* check = FindCheck(verified, name);
  if (check == nullptr) return {label, "skip", std::string(name) + " not checked"};
  return {label, TextOf(*check, "verdict"), std::string(name) + ": " + TextOf(*check, "text")};
}

std::string digest_line(const Json& fields) {
  std::string digest = TextOf(fields, "imprint");
  if (digest.size() > 28) digest.replace(12, digest.size() - 24, "…");
  return Abridged(TextOf(fields, "hash") + " " + digest, kColumns);
}

Box data_box(const Json& verified) {
  const std::string file = TextOf(verified, "subject");
  const bool held = FindCheck(verified, "imprint") != nullptr && file != TextOf(verified, "token_file");
  Box box{"Stamped data", {}, held ? "held" : "lacking"};
  append_name(box, held ? BaseName(file) : "not at hand, only the digest is");
  return box;
}

// The certificates from the signer's on, and the issuer that is not there.
void append_path(Row& row, const CertificatePath& path) {
  const Arrow issued{"issued by, as its name says", "skip", "not checked: nobody to trust was named"};
  for (size_t i = 1; i < path.certificates.size(); ++i) {
    const Json& certificate = *path.certificates[i];
    const bool root = SubjectName(certificate) == IssuerName(certificate);
    row.add(issued, certificate_box(root ? "Root certificate" : "Issuer", certificate));
  }
  if (path.cut) {
    row.add(issued, {"Further issuers", {"left out: the chain is too long to draw"}, "lacking"});
  } else if (!path.missing.empty()) {
    Box box{path.circle ? "Issuer, drawn above: a circle" : "Issuer, not in this message", {}, "lacking"};
    append_name(box, path.missing);
    row.add(issued, std::move(box));
  }
}

Row row_of_token(const Json& shown, const Json& token, const Json& verified) {
  Row row;
  row.boxes.push_back(data_box(verified));
  Box box{"Time-stamp token", {}, "held"};
  const std::string accuracy = TextOf(token, "accuracy");
  append_name(box, TextOf(token, "time") + (accuracy.empty() ? "" : " ± " + accuracy));
  box.lines.push_back(Abridged("serial " + TextOf(token, "serial"), kColumns));
  box.lines.push_back(Abridged("policy " + TextOf(token, "policy"), kColumns));
  box.lines.push_back(digest_line(token));
  row.add(arrow_of("digested; the token holds the imprint", verified, "imprint"), std::move(box));
  const CertificatePath path = PathOf(shown);
  Arrow signature = arrow_of("signed with the key of", verified, "signature");
  if (path.certificates.empty()) {
    row.add(std::move(signature), {"Signing certificate", {"not in this message"}, "lacking"});
    return row;
  }
  const Json& signer = *path.certificates.front();
  const bool root = SubjectName(signer) == IssuerName(signer);
  row.add(std::move(signature),
          certificate_box(root ? "Signing certificate, its own issuer" : "Signing certificate", signer));
  append_path(row, path);
  return row;
}

Row row_of_request(const Json& request) {
  Row row;
  row.boxes.push_back({"Data to be stamped", {"not at hand, only the digest is"}, "lacking"});
  Box box{"Time-stamp request", {digest_line(request)}, "held"};
  const std::string nonce = TextOf(request, "nonce");
  const std::string policy = TextOf(request, "policy");
  box.lines.push_back(Abridged(nonce.empty() ? "no nonce" : "nonce " + nonce, kColumns));
  box.lines.push_back(Abridged(policy.empty() ? "any policy" : "policy " + policy, kColumns));
  row.add({"digested; the request holds the imprint", "skip", "not compared"}, std::move(box));
  return row;
}

Row row_of_certificate(const Json& shown) {
  const CertificatePath path = PathOf(shown);
  Row row;
  row.boxes.push_back(certificate_box(path.missing.empty() ? "Root certificate" : "Certificate", shown));
  append_path(row, path);
  return row;
}

Row row_of_attributes(const Json& shown) {
  Row row;
  Box box{"Time attribute certificate", {}, "held"};
  append_name(box, "of " + TextOf(shown, "holder"));
  box.lines.push_back(Abridged("serial " + TextOf(shown, "serial"), kColumns));
  row.boxes.push_back(std::move(box));
  Box issuer{"Issuer, not in this message", {}, "lacking"};
  append_name(issuer, IssuerName(shown));
  row.add({"issued by, as its name says", "skip", "not checked"}, std::move(issuer));
  return row;
}

Row row_of(const Json& shown, const Json& verified) {
  const std::string kind = TextOf(shown, "kind");
  if (const Json* token = PartOf(shown, "token")) return row_of_token(shown, *token, verified);
  if (const Json* request = PartOf(shown, "request")) return row_of_request(*request);
  if (kind == "certificate") return row_of_certificate(shown);
  if (kind == "attribute certificate") return row_of_attributes(shown);
  return {};
}

[[nodiscard]] int height_of(const Box& box) {
  return kHead + int(box.lines.size()) * kLine + 8;
}

std::string attribute(const char* name, int value) {
  return " " + std::string(name) + "=\"" + std::to_string(value) + "\"";
}

std::string text_at(int x, int y, const char* style, const std::string& text) {
  return "<text" + attribute("x", x) + attribute("y", y) + " class=\"" + style + "\">" + Markup(text) +
         "</text>";
}

std::string drawn_box(const Box& box, int y) {
  const int height = height_of(box);
  // An svg inside an svg clips.
  std::string svg = "<svg x=\"0\"" + attribute("y", y) + attribute("width", kWidth) +
                    attribute("height", height) + "><rect x=\"1\" y=\"1\"" + attribute("width", kWidth - 2) +
                    attribute("height", height - 2) + " rx=\"6\" class=\"box " + box.style + "\"/>";
  svg += text_at(kMargin, 19, "kind", box.kind);
  for (size_t i = 0; i < box.lines.size(); ++i) {
    svg += text_at(kMargin, kHead + 14 + int(i) * kLine, i < box.names ? "name" : "line", box.lines[i]);
  }
  return svg + "</svg>\n";
}

const char* style_of(const std::string& verdict) {
  return verdict == "pass" ? "pass" : verdict == "fail" ? "fail" : "skip";
}

std::string drawn_arrow(const Arrow& arrow, int y) {
  const std::string style = style_of(arrow.verdict);
  std::string svg = "<svg x=\"0\"" + attribute("y", y) + attribute("width", kWidth) +
                    attribute("height", kArrow) + "><g class=\"arrow " + style + "\"><path d=\"M28 2V" +
                    std::to_string(kArrow - 10) + "\"/><path class=\"head\" d=\"M28 " +
                    std::to_string(kArrow - 1) + "l-6 -11h12z\"/></g>";
  svg += text_at(46, 24, "label", arrow.label);
  svg +=
      text_at(46, 42, ("finding " + style).c_str(), Abridged(arrow.verdict + "  " + arrow.finding, kColumns));
  return svg + "</svg>\n";
}

// The same in sentences, for those who do not see it.
std::string description_of(const Row& row) {
  std::string text;
  for (size_t i = 0; i < row.boxes.size(); ++i) {
    if (i > 0) {
      const Arrow& arrow = row.arrows[i - 1];
      text += " Arrow: " + arrow.label + " (" + arrow.verdict + ", " + arrow.finding + "). ";
    }
    text += row.boxes[i].kind;
    text += ":";
    for (const std::string& line : row.boxes[i].lines) text += " " + line;
    text += ".";
  }
  return text;
}

}  // namespace

std::string DrawingOf(const Json& shown, const Json& verified, size_t number) {
  const Row row = row_of(shown, verified);
  if (row.boxes.empty()) return "";
  int height = 0;
  for (const Box& box : row.boxes) height += height_of(box);
  height += kArrow * int(row.arrows.size());
  const std::string id = "f" + std::to_string(number) + "-drawing";
  std::string svg = "<svg class=\"drawing\" role=\"img\"" + attribute("width", kWidth) +
                    attribute("height", height) + " viewBox=\"0 0 " + std::to_string(kWidth) + " " +
                    std::to_string(height) + "\" aria-labelledby=\"" + id + "-title\" aria-describedby=\"" +
                    id + "-desc\">\n";
  svg += "<title id=\"" + id + "-title\">Who signed what</title>\n<desc id=\"" + id + "-desc\">" +
         Markup(description_of(row), 5000) + "</desc>\n";
  int y = 0;
  for (size_t i = 0; i < row.boxes.size(); ++i) {
    if (i > 0) {
      svg += drawn_arrow(row.arrows[i - 1], y);
      y += kArrow;
    }
    svg += drawn_box(row.boxes[i], y);
    y += height_of(row.boxes[i]);
  }
  svg += "</svg>\n";
  const size_t others = PathOf(shown).others;
  if (others != 0) {
    svg += "<p class=\"left-out\">" + WithCount(others, "certificate") + " of this message " +
           (others == 1 ? "is" : "are") + " not drawn: not the signer's, nor of its issuers by name.</p>\n";
  }
  return svg;
}

}  // namespace qex::tool
