// An ASN.1 type as the engine sees it: a descriptor, which knows offsets, tags and error codes.
// schema.h says how descriptors are declared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "asn1/codes.h"
#include "ber/list.h"
#include "ber/open_types.h"
#include "ber/primitives.h"

namespace qex {

enum class Kind : uint8_t { Primitive, Any, Sequence, Set, Choice, ListOf, OpenList };
enum class Held : uint8_t { Inline, Pointer };
enum class Need : uint8_t { Mandatory, Optional, Default };
enum class Tagging : uint8_t { None, Implicit, Explicit };

struct Type;

// The content routines of one primitive representation.
struct Codec {
  void (*decode)(ExpBuf** b, AsnTag tag, AsnLen len, void* v, AsnLen* bytes, AsnJmpEnv& env);
  AsnLen (*encode)(ExpBuf** b, const void* v);
  void (*free)(void* v);
  void (*print)(FILE* f, const void* v, unsigned indent);
  bool (*absent)(const void* v);  // of an OPTIONAL value that is held inline
};

// No identifier octets are these: a first octet of 0 has none after it.
inline constexpr AsnTag kNoTag = 1;

// One field of a SEQUENCE or SET, or one alternative of a CHOICE.
struct Field {
  const char* name;  // as Print writes it
  const Type* type;
  uint32_t offset;        // of the member in its record
  AsnTag tag;             // of an IMPLICIT or EXPLICIT field
  AsnTag firstTag;        // with which its value starts; kNoTag: with one of an alternative
  AsnTag secondTag;       // the other accepted tag, or the first one again
  int32_t definedBy;      // offset of the identifier of an open type; -1: none
  SiteCode missingCode;   // of its absence, where it is mandatory
  SiteCode innerTagCode;  // of another tag inside the EXPLICIT one
  Tagging tagging;
  Held held;
  Need need;
  bool checksInnerTag;  // EXPLICIT around a type that has one tag of its own
  bool definedByInt;    // the identifier of an open type is an INTEGER
};

// A value of another shape is an element of the SET, or replaces the whole SET.
enum class ShapePlace : uint8_t { Element, WholeSet };

// Another shape that a value of `identifier` may have: `type` instead of the registered one.
struct OpenShape {
  AsnOid identifier;
  const Type* type;
  const AnyInfo* info;
  ShapePlace place;
};

struct Type {
  const char* name;  // as in the routine names of the error texts
  Kind kind;
  bool top;            // has a full decoder, so a code for a wrong outer tag
  uint16_t mandatory;  // fields up to and including the last mandatory one
  uint32_t size;       // of the value record
  AsnTag tag;
  AsnTag altTag;          // second accepted tag: the constructed form of a string; 0: none
  SiteCode wrongTagCode;  // the sites of codes.h, those of the fields excepted
  SiteCode unexpectedCode;
  SiteCode lengthCode;
  SiteCode trailingCode;
  std::span<const Field> fields;      // Sequence, Set, Choice
  const Type* element;                // ListOf
  std::span<const OpenShape> shapes;  // OpenList
  const Codec* codec;                 // Primitive
};

}  // namespace qex
