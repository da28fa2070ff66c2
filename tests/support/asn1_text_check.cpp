// The comparison of ASN.1 texts with descriptors, type by type and field by field.
#include "tests/support/asn1_text_check.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <regex>
#include <set>

namespace qex::test {
namespace {

using Problems = std::vector<std::string>;

constexpr int kDeepest = 16;  // names that lead to names

std::string need_word(Need need) {
  return need == Need::Mandatory ? "mandatory" : need == Need::Optional ? "OPTIONAL" : "DEFAULT";
}
std::string tagging_word(Tagging tagging) {
  return tagging == Tagging::None ? "none" : tagging == Tagging::Implicit ? "IMPLICIT" : "EXPLICIT";
}
[[nodiscard]] bool is_marked(const Marks& m) {
  return m.optional || m.moreShapes || !(m.named.empty() && m.widened.empty() && m.elements.empty());
}
std::string hex(AsnTag tag) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", unsigned(tag));
  return text;
}

class Comparison {
 public:
  explicit Comparison(const std::vector<NamedType>& types) {
    for (const NamedType& t : types) types_[t.name] = t.type;
  }

  void add(std::vector<Definition> definitions) {
    for (Definition& d : definitions) all_.push_back(std::move(d));
  }

  Problems run() {
    bind();
    for (const Bound& b : bound_) compare_definition(b);
    for (const Bound& b : bound_) check_within(b);
    for (const Definition& d : all_) check_used(d);
    return problems_;
  }

 private:
  // A text and the type whose it is.
  struct Bound {
    const Definition* text;
    std::string name;
    const Type* type;
  };

  void complain(const std::string& what) { problems_.push_back(what); }

  // --- Which text is whose -----------------------------------------------------

  void bind() {
    for (const Definition& d : all_) {
      if (!by_name_.emplace(d.name, &d).second) complain(d.place + ": a second text of " + d.name);
      std::string name = d.marks.named;
      if (name.empty()) {
        name = d.name;
        std::replace(name.begin(), name.end(), '-', '_');  // Dss-Parms
      } else if (name == d.name) {
        complain(d.place + ": " + d.name + ": the mark \"named\" is not needed");
      }
      const auto type = types_.find(name);
      if (type != types_.end()) {
        bind(d, name, type->second);
      } else if (!d.marks.named.empty()) {
        complain(d.place + ": " + d.name + " is marked as " + name + ", which is no type");
      } else if (d.type.form == TextType::Form::Record) {
        complain(d.place + ": a text without a type: " + d.name);
      } else if (d.tag || !d.within.empty() || is_marked(d.marks)) {
        complain(d.place + ": " + d.name + " is no type: it has no tag, no mark and no record around it");
      }
    }
    for (const auto& [name, type] : types_) {
      if (text_of_.count(type) == 0) complain("a type without a text: " + name);
    }
    std::map<std::string, int> blocks;
    for (const Definition& d : all_) blocks[block_of(d)] += 0;
    for (const Bound& b : bound_) ++blocks[block_of(*b.text)];
    for (const auto& [block, texts] : blocks) {
      if (texts != 1) complain(block + " has the texts of " + std::to_string(texts) + " types");
    }
  }

  void bind(const Definition& d, const std::string& name, const Type* type) {
    if (!text_of_.emplace(type, &d).second) complain(d.place + ": a second text of the type " + name);
    bound_.push_back({&d, name, type});
    if (!std::regex_search(d.declared, std::regex("\\bk?" + name + "\\b"))) {
      complain(d.place + ": " + d.name + " is not directly above the declaration of " + name);
    }
  }

  static std::string block_of(const Definition& d) {
    return d.place.substr(0, d.place.find(':')) + ": comment " + std::to_string(d.block);
  }

  // --- One definition ----------------------------------------------------------

  void compare_definition(const Bound& b) {
    text_ = b.text;
    implied_ = false;
    const Definition& d = *b.text;
    const std::string where = d.place + ": " + d.name;
    if (d.marks.optional || !d.marks.widened.empty()) complain(where + ": a mark that only a field can have");
    if (d.tag && (b.type->kind != Kind::Choice || d.tag->written != Tagging::None)) {
      complain(where + ": a tag that is not of a CHOICE");
    }
    if (d.marks.moreShapes == b.type->shapes.empty()) {
      complain(where + ": the mark \"more shapes\" is " + (d.marks.moreShapes ? "not needed" : "missing"));
    }
    top_ = &d.type;
    if (d.marks.elements.empty()) {
      compare(d.type, *b.type, where, 0);
    } else {
      compare_marked_elements(d, *b.type, where);
    }
    if (d.ownDefault && !implied_) complain(where + ": says a default tagging without need");
  }

  void compare_marked_elements(const Definition& d, const Type& type, const std::string& where) {
    if (d.type.form != TextType::Form::ListOf || type.kind != Kind::ListOf) {
      return complain(where + ": \"of\" marks lists only");
    }
    if (type.tag != d.type.tag) complain(where + ": SET OF and SEQUENCE OF differ");
    if (find_type(d.marks.elements) != type.element) {
      complain(where + ": the elements are not " + d.marks.elements);
    }
    if (agrees([&] { compare(d.type.element[0], *type.element, where, 1); })) {
      complain(where + ": the mark \"of\" is not needed");
    }
  }

  const Type* find_type(const std::string& name) const {
    const auto found = types_.find(name);
    return found == types_.end() ? nullptr : found->second;
  }

  // Whether a comparison finds nothing; what it finds is dropped.
  template <class F>
  [[nodiscard]] bool agrees(const F& comparison) {
    Problems kept;
    kept.swap(problems_);
    comparison();
    kept.swap(problems_);
    return kept.empty();
  }

  // --- Types -------------------------------------------------------------------

  // `depth` counts the names that led here: at 0 the text is of this very definition.
  void compare(const TextType& text, const Type& type, const std::string& where, int depth) {
    if (depth > kDeepest) return complain(where + ": the names lead in a circle");
    switch (text.form) {
      case TextType::Form::Primitive:
        if (type.kind != Kind::Primitive || type.tag != text.tag) {
          complain(where + ": the text has " + text.word + ", the table " + type.name);
        }
        return;
      case TextType::Form::Any:
        if (type.kind != Kind::Any) complain(where + ": the text has ANY, the table " + type.name);
        return;
      case TextType::Form::Reference: return compare_reference(text, type, where, depth);
      case TextType::Form::ListOf: return compare_list(text, type, where, depth);
      case TextType::Form::Record: return compare_record(text, type, where, depth);
    }
  }

  // A field that names a type has that very type; a definition that names one is another of the same form.
  void compare_reference(const TextType& text, const Type& type, const std::string& where, int depth) {
    const auto found = by_name_.find(text.word);
    if (found == by_name_.end()) return complain(where + ": " + text.word + " has no text");
    const Definition& d = *found->second;
    used_.insert(&d);
    const auto own = std::find_if(bound_.begin(), bound_.end(), [&](const Bound& b) { return b.text == &d; });
    const bool sameType = own != bound_.end() && own->type->kind != Kind::Primitive && &text != top_;
    if (!sameType) return compare(d.type, type, where, depth + 1);
    if (own->type != &type) complain(where + ": the text has " + text.word + ", the table " + type.name);
  }

  void compare_list(const TextType& text, const Type& type, const std::string& where, int depth) {
    const bool list = type.kind == Kind::ListOf || type.kind == Kind::OpenList;
    if (!list || type.tag != text.tag) {
      return complain(where + ": the text has " + (text.tag == 0x31000000 ? "SET OF" : "SEQUENCE OF") +
                      ", the table " + type.name);
    }
    note_inline(text, type, where, depth);
    const TextType& element = text.element[0];
    if (type.kind == Kind::ListOf) return compare(element, *type.element, where + ", elements", depth);
    const TextType* open = expand(element);
    if (open == nullptr || open->form != TextType::Form::Any) {
      complain(where + ": the table has open values, the text " + element.word);
    }
  }

  void compare_record(const TextType& text, const Type& type, const std::string& where, int depth) {
    if (type.kind != text.kind || type.tag != text.tag) {
      return complain(where + ": another kind of record than the table's " + type.name);
    }
    note_inline(text, type, where, depth);
    if (text.fields.size() != type.fields.size()) {
      complain(where + ": " + std::to_string(text.fields.size()) + " fields, in the table " +
               std::to_string(type.fields.size()));
    }
    std::set<std::string> names;
    for (size_t i = 0; i < std::min(text.fields.size(), type.fields.size()); ++i) {
      if (!names.insert(text.fields[i].name).second) complain(where + ": two fields " + text.fields[i].name);
      compare_field(text, text.fields[i], type, type.fields[i], where + "." + text.fields[i].name);
    }
  }

  // A type that a text writes inline has a name in the library all the same, and a text that says so.
  void note_inline(const TextType& text, const Type& type, const std::string& where, int depth) {
    if (&text == top_ || depth > 0) return;
    const auto found = text_of_.find(&type);
    if (found == text_of_.end()) return;
    if (found->second->within.empty()) {
      complain(where + ": the table has the type " + type.name + " by its name");
    }
    inline_.insert({text_->name, &type});
  }

  // --- Fields ------------------------------------------------------------------

  void compare_field(const TextType& texts, const TextField& text, const Type& record, const Field& field,
                     const std::string& where) {
    const Marks& marks = text.marks;
    if (!marks.elements.empty() || marks.moreShapes) {
      complain(where + ": a mark that only a definition can have");
    }
    const std::string& name = marks.named.empty() ? text.name : marks.named;
    if (name != field.name) complain(where + ": the table's field is " + field.name);
    if (marks.named == text.name) complain(where + ": the mark \"named\" is not needed");

    const Need need = marks.optional ? Need::Optional : text.need;
    if (marks.optional && text.need != Need::Mandatory) {
      complain(where + ": the mark \"OPTIONAL\" is not needed");
    }
    if (need != field.need) {
      complain(where + ": " + need_word(need) + " in the text, " + need_word(field.need) + " in the table");
    }
    check_default(text, where);

    if (marks.widened.empty()) {
      compare(text.type, *field.type, where, 0);
    } else {
      check_widened(text, *field.type, where);
    }
    check_defined_by(texts, text, record, field, where);
    check_tag(text, field, where);
  }

  // A widened field has a CHOICE, and the published type is one of its alternatives or a CHOICE of some of
  // them.
  void check_widened(const TextField& text, const Type& type, const std::string& where) {
    if (find_type(text.marks.widened) != &type || type.kind != Kind::Choice) {
      return complain(where + ": not the CHOICE " + text.marks.widened);
    }
    if (agrees([&] { compare(text.type, type, where, 1); })) {
      return complain(where + ": the mark \"widened to\" is not needed");
    }
    const auto some_alternative = [&](const auto& fits) {
      return std::any_of(type.fields.begin(), type.fields.end(), fits);
    };
    bool taken = true;
    if (text.type.form == TextType::Form::Record && text.type.kind == Kind::Choice) {
      for (const TextField& f : text.type.fields) {
        taken = taken && some_alternative([&](const Field& a) {
                  return agrees([&] { compare_field(text.type, f, type, a, where); });
                });
      }
    } else {
      taken = some_alternative([&](const Field& a) {
        return a.tagging == Tagging::None && agrees([&] { compare(text.type, *a.type, where, 1); });
      });
    }
    if (!taken) complain(where + ": " + text.marks.widened + " does not take the type of the text");
  }

  // A reference's definition, through all names; null where one has no text.
  const TextType* expand(const TextType& text, const Definition** last = nullptr) {
    const TextType* t = &text;
    for (int depth = 0; t->form == TextType::Form::Reference; ++depth) {
      const auto found = by_name_.find(t->word);
      if (found == by_name_.end() || depth > kDeepest) return nullptr;
      used_.insert(found->second);
      if (last != nullptr) *last = found->second;
      t = &found->second->type;
    }
    return t;
  }

  void check_default(const TextField& text, const std::string& where) {
    if (text.need != Need::Default) return;
    const TextType* type = expand(text.type);
    if (type == nullptr) return;  // compare() has said so
    bool fits = false;
    if (!text.defaultMembers.empty()) {
      const auto has = [&](const std::string& member) {
        return std::any_of(type->fields.begin(), type->fields.end(),
                           [&](auto& f) { return f.name == member; });
      };
      fits = std::all_of(text.defaultMembers.begin(), text.defaultMembers.end(), has);
    } else if (type->word == "BOOLEAN") {
      fits = text.defaultWord == "TRUE" || text.defaultWord == "FALSE";
    } else {
      fits = std::count(type->values.begin(), type->values.end(), text.defaultWord) == 1;
    }
    if (!fits) complain(where + ": a DEFAULT that is no value of the type");
  }

  // DEFINED BY names a field of the same record, or the type that one field has.
  void check_defined_by(const TextType& texts, const TextField& text, const Type& record, const Field& field,
                        const std::string& where) {
    const TextType* open = expand(text.type);
    if (open != nullptr && open->form == TextType::Form::ListOf) open = expand(open->element[0]);
    if (open == nullptr || open->form != TextType::Form::Any) {
      if (field.definedBy != -1) complain(where + ": an open type in the table only");
      return;
    }
    std::vector<size_t> by;
    for (size_t i = 0; i < std::min(texts.fields.size(), record.fields.size()); ++i) {
      const TextField& f = texts.fields[i];
      if (f.name == open->word || (f.type.form == TextType::Form::Reference && f.type.word == open->word)) {
        by.push_back(i);
      }
    }
    if (by.size() != 1) {
      return complain(where + ": DEFINED BY " + open->word + ", which is not one of the fields");
    }
    const Field& identifier = record.fields[by[0]];
    if (field.definedBy != int32_t(identifier.offset) ||
        field.definedByInt != (identifier.type == &kAsnInt)) {
      complain(where + ": the table has another field than " + open->word + " define the type");
    }
  }

  // The tag of the field, or the one that the definition of its type has.
  void check_tag(const TextField& text, const Field& field, const std::string& where) {
    const Definition* named = nullptr;
    expand(text.type, &named);
    std::optional<TextTag> tag = text.tag;
    if (named != nullptr && named->tag) {
      if (tag) complain(where + ": a tag on a type that has one");
      tag = named->tag;
    }
    Tagging tagging = Tagging::None;
    AsnTag octets = 0;
    if (tag) {
      const bool untagged = field.type->kind == Kind::Choice || field.type->kind == Kind::Any;
      tagging = tag->written == Tagging::None ? text_->defaultTagging : tag->written;
      if (tag->written == Tagging::Implicit && untagged) {
        complain(where + ": IMPLICIT over a type without a tag");
      }
      if (untagged) tagging = Tagging::Explicit;  // by X.680
      implied_ = implied_ || (tag->written == Tagging::None && !untagged);
      const bool primitive = tagging == Tagging::Implicit && field.type->kind == Kind::Primitive;
      octets = tag->tagClass | (primitive ? 0 : kConstructedBit) | tag->number << 24;
    }
    if (tagging != field.tagging) {
      complain(where + ": tagging " + tagging_word(tagging) + ", in the table " +
               tagging_word(field.tagging));
    }
    if (octets != field.tag) complain(where + ": tag " + hex(octets) + ", in the table " + hex(field.tag));
  }

  // --- What is left at the end ---------------------------------------------------

  void check_within(const Bound& b) {
    const std::string& within = b.text->within;
    if (!within.empty() && inline_.count({within, b.type}) == 0) {
      complain(b.text->place + ": " + b.text->name + " is not written inline in " + within);
    }
  }

  void check_used(const Definition& d) {
    const bool own = std::any_of(bound_.begin(), bound_.end(), [&](const Bound& b) { return b.text == &d; });
    if (!own && d.type.form != TextType::Form::Record && used_.count(&d) == 0) {
      complain(d.place + ": no text uses the name " + d.name);
    }
  }

  std::vector<Definition> all_;
  std::map<std::string, const Type*> types_;
  std::map<std::string, const Definition*> by_name_;
  std::map<const Type*, const Definition*> text_of_;
  std::vector<Bound> bound_;
  std::set<const Definition*> used_;
  std::set<std::pair<std::string, const Type*>> inline_;
  Problems problems_;

  // Of the definition that is being compared.
  const Definition* text_ = nullptr;
  const TextType* top_ = nullptr;
  bool implied_ = false;  // whether a tag took the default tagging
};

}  // namespace

std::vector<std::string> CompareTexts(const std::vector<HeaderText>& headers,
                                      const std::vector<NamedType>& types) {
  Comparison comparison(types);
  for (const HeaderText& header : headers) {
    try {
      comparison.add(ReadTexts(header));
    } catch (const TextError& e) {
      return {e.what()};
    }
  }
  return comparison.run();
}

std::string AsText(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all += line + "\n";
  return all;
}

}  // namespace qex::test
