// The ASN.1 that the headers of asn1/ quote above their types, read as data.
//
// A text is a comment that starts in the first column, directly above the declaration of its type:
//
//   // SignerIdentifier ::= CHOICE {  (RFC 5652, 5.3)
//   //   issuerAndSerialNumber      IssuerAndSerialNumber,
//   //   subjectKeyIdentifier   [0] SubjectKeyIdentifier }
//   // SubjectKeyIdentifier ::= OCTET STRING  (RFC 5652, 12.1)
//   struct SignerIdentifier {
//
// The notation is X.680 without constraints. The source is in parentheses: a standard, "in TYPE" for
// a type that the standard writes inline, or "of this library"; "; EXPLICIT TAGS" follows where the module
// has another default than the header's first comment says. X.411 and X.520 are named without a clause, as
// their editions number clauses differently. Where the library deviates, "-- here:" names it:
//
//   named NAME       another name of the type or field
//   widened to NAME  the field's type is a CHOICE that also takes what the standard has
//   of NAME          other elements of the list
//   OPTIONAL         mandatory in the standard
//   more shapes      an open SET that also takes the shapes of its descriptor
//
// Whatever else a text contains is an error, as is a comment line with "::=" outside of a text.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "asn1/schema.h"

namespace qex::test {

struct HeaderText {
  std::string path;
  std::string contents;
};

struct TextTag {
  uint32_t number = 0;
  AsnTag tagClass = 0;
  Tagging written = Tagging::None;  // None: the module's default holds
};

struct Marks {
  std::string named;
  std::string widened;
  std::string elements;
  bool optional = false;
  bool moreShapes = false;
};

struct TextField;

struct TextType {
  enum class Form { Primitive, Any, Reference, ListOf, Record };
  Form form = Form::Primitive;
  Kind kind = Kind::Primitive;      // of a record: Sequence, Set or Choice
  std::string word;                 // the words of a primitive type, a type's name, what defines an ANY
  AsnTag tag = 0;                   // universal; 0 for CHOICE, ANY and references
  std::vector<std::string> values;  // the named values of an INTEGER, ENUMERATED or BIT STRING
  std::vector<TextType> element;    // one, of a list
  std::vector<TextField> fields;    // of a record
};

struct TextField {
  std::string name;
  std::optional<TextTag> tag;
  TextType type;
  Need need = Need::Mandatory;
  std::string defaultWord;                  // FALSE, 0, v1
  std::vector<std::string> defaultMembers;  // of a DEFAULT in braces: which members it gives
  Marks marks;
};

struct Definition {
  std::string name;
  std::optional<TextTag> tag;
  TextType type;
  std::string within;  // "in TYPE"
  Tagging defaultTagging = Tagging::None;
  bool ownDefault = false;  // the text, not the header, says the default
  Marks marks;
  std::string place;     // header:line
  std::string declared;  // the line below the comment
  int block = 0;         // texts of one comment share it
};

// TextError is a text that cannot be read; its message starts with the header and the line.
struct TextError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// ReadTexts returns the definitions of a header in their order, or throws a TextError.
std::vector<Definition> ReadTexts(const HeaderText& header);

}  // namespace qex::test
