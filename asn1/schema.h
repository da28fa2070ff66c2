// How an ASN.1 type is declared: one record, one table of its fields, one line.
//
// The record follows the ASN.1, the descriptor follows the record row by row, and ASN1_TYPE
// (codec.h) names the routines; the three stand together in the header of the type's group.
// The declarations are typed: every row is checked against the member that it describes. The
// engine that walks them (codec.h) is not: it sees offsets and descriptors.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "asn1/codes.h"
#include "ber/list.h"
#include "ber/open_types.h"
#include "ber/primitives.h"

namespace qex {

enum class Kind : uint8_t { Primitive, Any, Sequence, Set, Choice, ListOf, OpenList };
enum class Held : uint8_t { Inline, Pointer };
enum class Need : uint8_t { Mandatory, Optional };
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

// One field of a SEQUENCE or SET, or one alternative of a CHOICE.
struct Field {
  const char* name;  // as Print writes it
  uint32_t offset;   // of the member in its record
  const Type* type;
  AsnTag tag;  // of an IMPLICIT or EXPLICIT field
  Tagging tagging;
  Held held;
  Need need;
  bool checksInnerTag;  // EXPLICIT around a type that has one tag of its own
  bool definedByInt;    // the identifier of an open type is an INTEGER
  int32_t definedBy;    // offset of the identifier of an open type; -1: none
};

// Another shape in which a value of `identifier` may stand: as `type` instead of as the
// registered one, either as an element of the SET or in place of the whole SET.
struct OpenShape {
  AsnOid identifier;
  const Type* type;
  const AnyInfo* info;
  bool inPlaceOfSet;
};

struct Type {
  const char* name;  // as in the routine names of the error texts
  Kind kind;
  bool top;            // has a full decoder, so a code for a wrong outer tag
  uint16_t mandatory;  // fields up to and including the last mandatory one
  uint32_t size;       // of the value record
  AsnTag tag;
  AsnTag altTag;                      // second accepted tag: the constructed form of a string; 0: none
  AsnInt firstCode;                   // of the type's run of error codes
  std::span<const Field> fields;      // Sequence, Set, Choice
  const Type* element;                // ListOf
  std::span<const OpenShape> shapes;  // OpenList
  const Codec* codec;                 // Primitive
};

// A Type whose values are records of V.
template <class V>
struct TypeOf : Type {
  using Value = V;
};

// The list that a SEQUENCE OF or SET OF is decoded into; its elements are records of E.
template <class E>
struct ListOf : AsnList {};

// A Field of record R.
template <class R>
struct Row : Field {};

// --- Rows --------------------------------------------------------------------

// A member of record R: what FIELD() hands to the row builders.
template <class R, class M>
struct Member {
  const char* name;
  uint32_t offset;
};
#define FIELD(R, m)                  \
  ::qex::Member<R, decltype(R::m)> { \
#m, uint32_t(offsetof(R, m))     \
  }
// FIELD_AS is for printed names that are no C++ identifiers.
#define FIELD_AS(R, m, printed)       \
  ::qex::Member<R, decltype(R::m)> {  \
    printed, uint32_t(offsetof(R, m)) \
  }

// The [number] of a tagged field, as the ASN.1 text writes it.
struct Tag {
  uint32_t number;
  Tagging tagging;
  AsnTag tagClass;
};
inline constexpr AsnTag kApplicationClass = 0x40000000;
inline constexpr AsnTag kContextClass = 0x80000000;
inline constexpr Tag kOwnTag{0, Tagging::None, 0};
constexpr Tag implicit_tag(uint32_t number) {
  return {number, Tagging::Implicit, kContextClass};
}
constexpr Tag explicit_tag(uint32_t number) {
  return {number, Tagging::Explicit, kContextClass};
}
constexpr Tag explicit_application_tag(uint32_t number) {
  return {number, Tagging::Explicit, kApplicationClass};
}

template <class V>
inline constexpr bool kIsPrimitive =
    std::is_same_v<V, AsnInt> || std::is_same_v<V, AsnBool> || std::is_same_v<V, AsnOcts> ||
    std::is_same_v<V, AsnBits> || std::is_same_v<V, AsnOid> || std::is_same_v<V, AsnNull>;

// Around a primitive value an IMPLICIT tag is primitive; every other tag is constructed.
template <class V>
constexpr AsnTag tag_octets(Tag tag) {
  if (tag.tagging == Tagging::None) return 0;
  const bool primitive = tag.tagging == Tagging::Implicit && kIsPrimitive<V>;
  return tag.tagClass | (primitive ? 0 : kConstructedBit) | tag.number << 24;
}

template <class V>
concept IsChoice = requires(V v) {
  v.choice;
};

// A CHOICE or an ANY has no tag of its own that could be looked for inside an EXPLICIT one.
template <class V>
inline constexpr bool kHasOwnTag = !IsChoice<V> && !std::is_same_v<V, AsnAny>;

template <class M, class V>
concept Holds = std::is_same_v<M, V> || std::is_same_v<M, V*>;

template <class R, class M, class V>
requires Holds<M, V>
constexpr Row<R> row(Member<R, M> m, const TypeOf<V>& type, Need need, Tag tag) {
  return {{.name = m.name,
           .offset = m.offset,
           .type = &type,
           .tag = tag_octets<V>(tag),
           .tagging = tag.tagging,
           .held = std::is_pointer_v<M> ? Held::Pointer : Held::Inline,
           .need = need,
           .checksInnerTag = tag.tagging == Tagging::Explicit && kHasOwnTag<V>,
           .definedByInt = false,
           .definedBy = -1}};
}

template <class R, class M, class V>
requires Holds<M, V>
constexpr Row<R> must(Member<R, M> m, const TypeOf<V>& type, Tag tag = kOwnTag) {
  return row(m, type, Need::Mandatory, tag);
}
// OPTIONAL and DEFAULT alike: absent stays absent.
template <class R, class M, class V>
requires Holds<M, V>
constexpr Row<R> may(Member<R, M> m, const TypeOf<V>& type, Tag tag = kOwnTag) {
  return row(m, type, Need::Optional, tag);
}
// ANY DEFINED BY: `by` is the identifier decoded earlier in the same record.
template <class R>
constexpr Row<R> defined_by(Member<R, AsnOid> by, Row<R> open) {
  open.definedBy = int32_t(by.offset);
  return open;
}
template <class R>
constexpr Row<R> defined_by(Member<R, AsnInt> by, Row<R> open) {
  open.definedBy = int32_t(by.offset);
  open.definedByInt = true;
  return open;
}

// --- Error codes -------------------------------------------------------------
// A type's codes are one run downward from firstCode, in this order: the wrong outer tag
// (top types); for each field its absence (mandatory ones) and its wrong inner tag (EXPLICIT
// ones); the tag that fits nothing (CHOICE, SET, lists); the length mismatch at the end; the
// trailing tag (SEQUENCE whose last field is OPTIONAL).

enum class Site : uint8_t { WrongTag, Missing, InnerTag, Unexpected, Length, Trailing };

// Whether a type has the site at all; `field` counts for Missing and InnerTag.
constexpr bool has_site(const Type& t, Site site, size_t field) {
  const bool record = t.kind == Kind::Sequence || t.kind == Kind::Set;
  switch (site) {
    case Site::WrongTag: return t.top && t.kind != Kind::Choice;
    case Site::Missing: return record && t.fields[field].need == Need::Mandatory;
    case Site::InnerTag: return t.fields[field].checksInnerTag;
    case Site::Unexpected: return t.kind == Kind::Choice || t.kind == Kind::Set || t.kind == Kind::ListOf;
    case Site::Length: return record || t.kind == Kind::ListOf;
    case Site::Trailing:
      return t.kind == Kind::Sequence && !t.fields.empty() && t.fields.back().need == Need::Optional;
  }
  return false;
}

// How many of the type's sites stand before the named one.
constexpr AsnInt site_index(const Type& t, Site site, size_t field) {
  AsnInt n = 0;
  if (site == Site::WrongTag) return n;
  n += has_site(t, Site::WrongTag, 0);
  for (size_t i = 0; i < t.fields.size(); ++i) {
    if (site == Site::Missing && i == field) return n;
    n += has_site(t, Site::Missing, i);
    if (site == Site::InnerTag && i == field) return n;
    n += has_site(t, Site::InnerTag, i);
  }
  for (Site s : {Site::Unexpected, Site::Length, Site::Trailing}) {
    if (site == s) return n;
    n += has_site(t, s, 0);
  }
  return n;
}
constexpr AsnInt site_code(const Type& t, Site site, size_t field = 0) {
  return t.firstCode - site_index(t, site, field);
}
constexpr AsnInt site_count(const Type& t) {
  return site_index(t, Site::Missing, t.fields.size());
}

// --- Descriptors ---------------------------------------------------------------

enum class Top : bool { No, Yes };  // a top type has a full decoder

constexpr uint16_t up_to_last_mandatory(std::span<const Field> fields) {
  size_t n = fields.size();
  while (n > 0 && fields[n - 1].need == Need::Optional) --n;
  return uint16_t(n);
}

// first_code is the start of the type's run of codes; a run of another length than the type
// has sites does not compile.
constexpr AsnInt first_code(const Type& type) {
  const CodeRun run = code_run(type.name);
  if (site_count(type) != run.count)
    throw "kCodeRuns gives this type another number of codes than it has sites";
  return run.first;
}

// The descriptor of a record, and its table: `fields` is a view of `rows`.
template <class R, size_t N>
struct RecordType : TypeOf<R> {
  std::array<Field, N> rows;

  template <class... Rows>
  constexpr RecordType(Kind recordKind, AsnTag ownTag, const char* typeName, Top isTop, const Rows&... row)
      : TypeOf<R>{}, rows{{row...}} {
    static_assert((std::is_same_v<Rows, Row<R>> && ...), "a row describes a member of another record");
    this->name = typeName;
    this->kind = recordKind;
    this->top = isTop == Top::Yes;
    this->mandatory = up_to_last_mandatory(rows);
    this->size = sizeof(R);
    this->tag = ownTag;
    this->fields = rows;
    this->firstCode = first_code(*this);
  }
  RecordType(const RecordType&) = delete;
  RecordType& operator=(const RecordType&) = delete;
};

// Sequence, Set and Choice take the type's name, Top::Yes for a top type, and a row for each
// field in the order of the ASN.1.
template <class R, size_t N>
struct Sequence : RecordType<R, N> {
  template <class... Rows>
  constexpr Sequence(const char* typeName, Row<R> first, const Rows&... more)
      : Sequence(typeName, Top::No, first, more...) {}
  template <class... Rows>
  constexpr Sequence(const char* typeName, Top isTop, Row<R> first, const Rows&... more)
      : RecordType<R, N>(Kind::Sequence, 0x30000000, typeName, isTop, first, more...) {}
};
template <class R, class... Rows>
Sequence(const char*, Row<R>, Rows...) -> Sequence<R, 1 + sizeof...(Rows)>;
template <class R, class... Rows>
Sequence(const char*, Top, Row<R>, Rows...) -> Sequence<R, 1 + sizeof...(Rows)>;

template <class R, size_t N>
struct Set : RecordType<R, N> {
  template <class... Rows>
  constexpr Set(const char* typeName, Row<R> first, const Rows&... more)
      : RecordType<R, N>(Kind::Set, 0x31000000, typeName, Top::No, first, more...) {}
};
template <class R, class... Rows>
Set(const char*, Row<R>, Rows...) -> Set<R, 1 + sizeof...(Rows)>;

// The record of a CHOICE starts with the number of the alternative, 0 for the first one, and
// holds one pointer to its value.
template <class R, size_t N>
struct Choice : RecordType<R, N> {
  template <class... Rows>
  constexpr Choice(const char* typeName, Row<R> first, const Rows&... more)
      : Choice(typeName, Top::No, first, more...) {}
  template <class... Rows>
  constexpr Choice(const char* typeName, Top isTop, Row<R> first, const Rows&... more)
      : RecordType<R, N>(Kind::Choice, 0, typeName, isTop, first, more...) {
    static_assert(offsetof(R, choice) == 0 && sizeof(R) == 2 * sizeof(void*),
                  "the record of a CHOICE is the number of the alternative and one pointer");
  }
};
template <class R, class... Rows>
Choice(const char*, Row<R>, Rows...) -> Choice<R, 1 + sizeof...(Rows)>;
template <class R, class... Rows>
Choice(const char*, Top, Row<R>, Rows...) -> Choice<R, 1 + sizeof...(Rows)>;

template <class E>
constexpr TypeOf<ListOf<E>> list_type(const char* typeName, AsnTag tag, const TypeOf<E>& element, Top isTop) {
  TypeOf<ListOf<E>> t{};
  t.name = typeName;
  t.kind = Kind::ListOf;
  t.top = isTop == Top::Yes;
  t.size = sizeof(AsnList);
  t.tag = tag;
  t.element = &element;
  t.firstCode = first_code(t);
  return t;
}
template <class E>
struct SequenceOf : TypeOf<ListOf<E>> {
  constexpr SequenceOf(const char* typeName, const TypeOf<E>& of, Top isTop = Top::No)
      : TypeOf<ListOf<E>>(list_type(typeName, 0x30000000, of, isTop)) {}
};
template <class E>
struct SetOf : TypeOf<ListOf<E>> {
  constexpr SetOf(const char* typeName, const TypeOf<E>& of, Top isTop = Top::No)
      : TypeOf<ListOf<E>>(list_type(typeName, 0x31000000, of, isTop)) {}
};

// A SET OF ANY DEFINED BY an identifier of the record around it. Where `shapes` says so, one
// value stands in place of the SET.
struct OpenSetOf : TypeOf<ListOf<AsnAny>> {
  constexpr OpenSetOf(const char* typeName, std::span<const OpenShape> others) : TypeOf<ListOf<AsnAny>>{} {
    name = typeName;
    kind = Kind::OpenList;
    size = sizeof(AsnList);
    tag = 0x31000000;
    shapes = others;
  }
};

template <class V>
constexpr TypeOf<V> primitive(const char* name, AsnTag tag, AsnTag altTag, const Codec& codec) {
  TypeOf<V> t{};
  t.name = name;
  t.kind = Kind::Primitive;
  t.size = sizeof(V);
  t.tag = tag;
  t.altTag = altTag;
  t.codec = &codec;
  return t;
}
// A primitive type with a full decoder under its own name.
template <class V>
constexpr TypeOf<V> named(const char* name, TypeOf<V> base) {
  base.name = name;
  base.top = true;
  base.firstCode = first_code(base);
  return base;
}

// --- The primitive types -------------------------------------------------------

extern const Codec kIntCodec, kBoolCodec, kOctsCodec, kBitsCodec, kOidCodec, kNullCodec;

constexpr TypeOf<AsnOcts> string_type(const char* name, AsnTag tag) {
  return primitive<AsnOcts>(name, tag, tag | kConstructedBit, kOctsCodec);
}

inline constexpr auto kAsnBool = primitive<AsnBool>("BOOLEAN", 0x01000000, 0, kBoolCodec);
inline constexpr auto kAsnInt = primitive<AsnInt>("INTEGER", 0x02000000, 0, kIntCodec);
inline constexpr auto kEnumerated = primitive<AsnInt>("ENUMERATED", 0x0A000000, 0, kIntCodec);
inline constexpr auto kBigInteger = string_type("INTEGER", 0x02000000);  // contents octets of any length
inline constexpr auto kAsnBits = primitive<AsnBits>("BIT STRING", 0x03000000, 0x23000000, kBitsCodec);
inline constexpr auto kAsnOcts = string_type("OCTET STRING", 0x04000000);
inline constexpr auto kAsnNull = primitive<AsnNull>("NULL", 0x05000000, 0, kNullCodec);
inline constexpr auto kAsnOid = primitive<AsnOid>("OBJECT IDENTIFIER", 0x06000000, 0, kOidCodec);
inline constexpr auto kUTF8String = string_type("UTF8String", 0x0C000000);
inline constexpr auto kNumericString = string_type("NumericString", 0x12000000);
inline constexpr auto kPrintableString = string_type("PrintableString", 0x13000000);
inline constexpr auto kTeletexString = string_type("TeletexString", 0x14000000);
inline constexpr auto kIA5String = string_type("IA5String", 0x16000000);
inline constexpr auto kUTCTime = string_type("UTCTime", 0x17000000);
inline constexpr auto kGeneralizedTime = string_type("GeneralizedTime", 0x18000000);
inline constexpr auto kUniversalString = string_type("UniversalString", 0x1C000000);
inline constexpr auto kBMPString = string_type("BMPString", 0x1E000000);

constexpr TypeOf<AsnAny> any_type() {
  TypeOf<AsnAny> t{};
  t.name = "ANY";
  t.kind = Kind::Any;
  t.size = sizeof(AsnAny);
  return t;
}
inline constexpr auto kAsnAny = any_type();

}  // namespace qex
