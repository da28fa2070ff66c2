// Reads ASN.1 texts: a header's comments are split into paragraphs, a paragraph into definitions.
#include "tests/support/asn1_text.h"

#include <cctype>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace qex::test {
namespace {

const std::map<std::string, AsnTag> kPrimitiveTags = {
    {"BOOLEAN", 1},
    {"INTEGER", 2},
    {"BIT STRING", 3},
    {"OCTET STRING", 4},
    {"NULL", 5},
    {"ENUMERATED", 10},
    {"OBJECT IDENTIFIER", 6},
    {"UTF8String", 12},
    {"NumericString", 18},
    {"UTCTime", 23},
    {"PrintableString", 19},
    {"TeletexString", 20},
    {"GeneralizedTime", 24},
    {"IA5String", 22},
    {"UniversalString", 28},
    {"BMPString", 30},
};
constexpr AsnTag kSequenceTag = 0x30000000;
constexpr AsnTag kSetTag = 0x31000000;

// One paragraph of definitions, without the comment signs. Lines end in '\n'.
class ParagraphReader {
 public:
  ParagraphReader(std::string text, std::string path, int firstLine)
      : text_(std::move(text)), path_(std::move(path)), line_(firstLine) {}

  [[nodiscard]] bool at_end() {
    skip_space();
    return at_ == text_.size();
  }

  Definition definition() {
    Definition d;
    skip_space();
    d.place = place();
    d.name = type_name();
    expect("::=");
    d.tag = tag();
    open_ = &d;
    d.type = type();
    source_and_marks();
    open_ = nullptr;
    return d;
  }

 private:
  std::string place() const { return path_ + ":" + std::to_string(line_); }
  [[noreturn]] void fail(const std::string& what) const {
    throw TextError(place() + ": " + what + " at \"" + text_.substr(at_, text_.find('\n', at_) - at_) + "\"");
  }

  void skip_space() {
    for (; at_ < text_.size() && std::isspace(uint8_t(text_[at_])) != 0; ++at_) line_ += text_[at_] == '\n';
  }
  [[nodiscard]] bool looking_at(const std::string& token) {
    skip_space();
    return text_.compare(at_, token.size(), token) == 0;
  }
  [[nodiscard]] bool accept(const std::string& token) {
    if (!looking_at(token)) return false;
    at_ += token.size();
    return true;
  }
  void expect(const std::string& token) {
    if (!accept(token)) fail("expected " + token);
  }

  // A hyphen belongs to a word when a letter or digit follows it.
  std::string peek_word() {
    skip_space();
    size_t end = at_;
    const auto alnum = [&](size_t i) { return i < text_.size() && std::isalnum(uint8_t(text_[i])) != 0; };
    while (alnum(end) || (end > at_ && end < text_.size() && text_[end] == '-' && alnum(end + 1))) ++end;
    return text_.substr(at_, end - at_);
  }
  std::string word() {
    std::string w = peek_word();
    if (w.empty()) fail("expected a word");
    at_ += w.size();
    return w;
  }
  [[nodiscard]] bool accept_word(const std::string& w) {
    if (peek_word() != w) return false;
    at_ += w.size();
    return true;
  }
  std::string type_name() {
    if (std::isupper(uint8_t(peek_word()[0])) == 0) fail("expected the name of a type");
    return word();
  }
  std::string identifier() {
    if (std::islower(uint8_t(peek_word()[0])) == 0) fail("expected a name");
    return word();
  }
  std::string number() {
    std::string digits = peek_word();
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
      fail("expected a number");
    }
    return word();
  }
  std::string up_to(char end) {
    const size_t stop = text_.find(end, at_);
    if (stop == std::string::npos) fail(std::string("expected ") + end);
    std::string all = text_.substr(at_, stop - at_);
    if (all.find('\n') != std::string::npos) fail(std::string("expected ") + end);
    at_ = stop;
    return all;
  }

  [[nodiscard]] std::optional<TextTag> tag() {
    if (!accept("[")) return std::nullopt;
    TextTag t;
    t.tagClass = accept_word("APPLICATION") ? kApplicationClass : kContextClass;
    t.number = uint32_t(std::stoul(number()));
    if (t.number > 30) fail("a tag number of more than one octet");
    expect("]");
    if (accept_word("IMPLICIT")) {
      t.written = Tagging::Implicit;
    } else if (accept_word("EXPLICIT")) {
      t.written = Tagging::Explicit;
    }
    return t;
  }

  TextType type() {
    TextType t;
    if (accept_word("CHOICE")) return record(Kind::Choice, 0);
    if (accept_word("SEQUENCE")) return record_or_list(Kind::Sequence, kSequenceTag);
    if (accept_word("SET")) return record_or_list(Kind::Set, kSetTag);
    if (accept_word("ANY")) {
      (void)accept("--");  // the 1988 modules hide what defines an ANY in a comment
      if (!accept_word("DEFINED") || !accept_word("BY")) fail("expected DEFINED BY");
      t.form = TextType::Form::Any;
      t.kind = Kind::Any;
      t.word = word();
      return t;
    }
    t.word = word();
    if (t.word == "BIT" || t.word == "OCTET") expect("STRING"), t.word += " STRING";
    if (t.word == "OBJECT") expect("IDENTIFIER"), t.word += " IDENTIFIER";
    if (const auto found = kPrimitiveTags.find(t.word); found != kPrimitiveTags.end()) {
      t.tag = found->second << 24;
      const bool enumerated = t.word == "ENUMERATED";
      if (enumerated || t.word == "INTEGER" || t.word == "BIT STRING") t.values = named_values(enumerated);
      return t;
    }
    if (std::isupper(uint8_t(t.word[0])) == 0) fail("unknown type " + t.word);
    t.form = TextType::Form::Reference;
    return t;
  }

  std::vector<std::string> named_values(bool needed) {
    std::vector<std::string> names;
    if (!accept("{")) {
      if (needed) fail("expected the values");
      return names;
    }
    std::set<std::string> numbers;
    do {
      names.push_back(identifier());
      expect("(");
      if (!numbers.insert(number()).second) fail("a value given twice");
      expect(")");
    } while (accept(","));
    expect("}");
    if (std::set<std::string>(names.begin(), names.end()).size() != names.size()) fail("a name given twice");
    return names;
  }

  TextType record_or_list(Kind kind, AsnTag tag) {
    if (!accept_word("OF")) return record(kind, tag);
    TextType t;
    t.form = TextType::Form::ListOf;
    t.kind = Kind::ListOf;
    t.tag = tag;
    t.element.push_back(type());
    return t;
  }

  TextType record(Kind kind, AsnTag tag) {
    TextType t;
    t.form = TextType::Form::Record;
    t.kind = kind;
    t.tag = tag;
    expect("{");
    source_and_marks();
    do {
      if (!t.fields.empty()) t.fields.back().marks = marks();
      t.fields.push_back(field(kind));
    } while (accept(","));
    expect("}");
    t.fields.back().marks = marks();
    return t;
  }

  TextField field(Kind record) {
    TextField f;
    f.name = identifier();
    f.tag = tag();
    f.type = type();
    if (record == Kind::Choice) return f;
    if (accept_word("OPTIONAL")) {
      f.need = Need::Optional;
    } else if (accept_word("DEFAULT")) {
      default_of(f);
    }
    return f;
  }

  void default_of(TextField& f) {
    f.need = Need::Default;
    if (!accept("{")) {
      f.defaultWord = word();
      return;
    }
    do {
      f.defaultMembers.push_back(identifier());
      word();
    } while (accept(","));
    expect("}");
  }

  // The source follows the first brace of a definition, or its end where it has none.
  void source_and_marks() {
    if (open_ == nullptr) return;
    Definition& d = *open_;
    open_ = nullptr;
    expect("(");
    const std::string source = up_to(')');
    static const std::regex form(
        "(?:RFC \\d+, [A-Z0-9][0-9.]*|X\\.\\d+|of this library|in ([A-Za-z0-9-]+))(?:; (IM|EX)PLICIT TAGS)?");
    std::smatch parts;
    if (!std::regex_match(source, parts, form)) fail("unknown source (" + source);
    expect(")");
    d.within = parts[1];
    d.ownDefault = parts[2].matched;
    if (d.ownDefault) d.defaultTagging = parts[2] == "IM" ? Tagging::Implicit : Tagging::Explicit;
    d.marks = marks();
  }

  Marks marks() {
    Marks m;
    if (!looking_at("--")) return m;
    if (!accept("-- here: ")) fail("unknown comment");
    std::istringstream all(up_to('\n'));
    for (std::string item; std::getline(all >> std::ws, item, ',');) {
      static const std::regex form("(named|widened to|of) ([A-Za-z0-9_-]+)");
      std::smatch parts;
      if (std::regex_match(item, parts, form)) {
        std::string& to = parts[1] == "named" ? m.named : parts[1] == "of" ? m.elements : m.widened;
        if (!to.empty()) fail("a mark given twice: " + item);
        to = parts[2];
      } else if (item == "OPTIONAL") {
        m.optional = true;
      } else if (item == "more shapes") {
        m.moreShapes = true;
      } else {
        fail("unknown mark: " + item);
      }
    }
    return m;
  }

  std::string text_, path_;
  size_t at_ = 0;
  int line_;
  Definition* open_ = nullptr;  // whose source has not been read
};

// The default that the header's first comment says; None where it says none.
Tagging header_default(const std::vector<std::string>& lines, const std::string& path) {
  Tagging found = Tagging::None;
  for (const std::string& line : lines) {
    if (line.rfind("//", 0) != 0) break;
    for (const auto& [words, tagging] :
         {std::pair{"IMPLICIT TAGS", Tagging::Implicit}, std::pair{"EXPLICIT TAGS", Tagging::Explicit}}) {
      if (line.find(words) == std::string::npos) continue;
      if (found != Tagging::None) {
        throw TextError(path + ":1: the first comment says the default tagging twice");
      }
      found = tagging;
    }
  }
  return found;
}

}  // namespace

std::vector<Definition> ReadTexts(const HeaderText& header) {
  std::vector<std::string> lines;
  std::istringstream all(header.contents);
  for (std::string line; std::getline(all, line);) lines.push_back(line);
  const Tagging tagging = header_default(lines, header.path);

  std::vector<Definition> definitions;
  int block = 0;
  const auto in_comment = [&](size_t i) { return i < lines.size() && lines[i].rfind("//", 0) == 0; };
  const auto has_text = [&](size_t i) { return lines[i].find("::=") != std::string::npos; };
  for (size_t i = 0; i < lines.size();) {
    if (!in_comment(i)) {
      if (has_text(i)) {
        throw TextError(header.path + ":" + std::to_string(i + 1) + ": a text outside of a comment");
      }
      ++i;
      continue;
    }
    // One paragraph: comment lines up to the next empty one.
    const size_t first = i;
    bool quoted = false;
    std::string text;
    for (; in_comment(i) && (i == first || lines[i] != "//"); ++i) {
      quoted = quoted || has_text(i);
      text += lines[i].substr(2) + "\n";
    }
    size_t below = i;
    while (in_comment(below)) ++below;
    if (quoted) {
      ParagraphReader reader(text, header.path, int(first) + 1);
      while (!reader.at_end()) {
        Definition d = reader.definition();
        if (!d.ownDefault) d.defaultTagging = tagging;
        d.declared = below < lines.size() ? lines[below] : "";
        d.block = block;
        definitions.push_back(std::move(d));
      }
    }
    if (i == below) ++block;
  }
  if (!definitions.empty() && tagging == Tagging::None) {
    throw TextError(header.path + ":1: the first comment does not say the default tagging");
  }
  return definitions;
}

}  // namespace qex::test
