// How an ASN.1 type is declared: one record, one table of its fields, one line.
//
// The header of a group declares for each type the ASN.1 in a comment, the record, and the descriptor row by
// row; a test compares the comment with the descriptor (tests/support/asn1_text.h). ASN1_TYPE (codec.h) names
// the routines. The declarations are typed: every row is checked against the member that it describes. The
// engine that walks them (codec.h) is not: it sees offsets and descriptors.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "asn1/type.h"

namespace qex {

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

// A member of record R: the result of FIELD() for the row builders.
template <class R, class M>
struct Member {
  const char* name;
  uint32_t offset;
};
// clang-format off
#define FIELD(R, m) ::qex::Member<R, decltype(R::m)>{#m, uint32_t(offsetof(R, m))}
// FIELD_AS is for printed names that are not C++ identifiers.
#define FIELD_AS(R, m, printed) ::qex::Member<R, decltype(R::m)>{printed, uint32_t(offsetof(R, m))}
// clang-format on

// The [number] of a tagged field, as the ASN.1 text writes it.
struct Tag {
  constexpr Tag(uint32_t n, Tagging t, AsnTag c) : number(n), tagging(t), tagClass(c) {
    if (n > 30) throw "a tag number is at most 30: the codec writes tags of one octet";
  }
  uint32_t number;
  Tagging tagging;
  AsnTag tagClass;
};
inline constexpr AsnTag kApplicationClass = 0x40000000;
inline constexpr AsnTag kContextClass = 0x80000000;
inline constexpr Tag kOwnTag{0, Tagging::None, 0};
constexpr Tag implicit_tag(uint32_t number) {
  return Tag(number, Tagging::Implicit, kContextClass);
}
constexpr Tag explicit_tag(uint32_t number) {
  return Tag(number, Tagging::Explicit, kContextClass);
}
constexpr Tag explicit_application_tag(uint32_t number) {
  return Tag(number, Tagging::Explicit, kApplicationClass);
}

template <class V>
inline constexpr bool kIsPrimitive =
    std::is_same_v<V, AsnInt> || std::is_same_v<V, AsnBool> || std::is_same_v<V, AsnOcts> ||
    std::is_same_v<V, AsnBits> || std::is_same_v<V, AsnOid> || std::is_same_v<V, AsnNull>;

template <class V>
concept IsChoice = requires(V v) {
  v.choice;
};

// A CHOICE or an ANY has no tag of its own: an IMPLICIT one would replace nothing, and none could
// be looked for inside an EXPLICIT one.
template <class V>
inline constexpr bool kHasOwnTag = !IsChoice<V> && !std::is_same_v<V, AsnAny>;

// Around a primitive value an IMPLICIT tag is primitive; every other tag is constructed.
template <class V>
constexpr AsnTag tag_octets(Tag tag) {
  if (tag.tagging == Tagging::None) return 0;
  if (tag.tagging == Tagging::Implicit && !kHasOwnTag<V>) throw "a CHOICE or an ANY takes no IMPLICIT tag";
  const bool primitive = tag.tagging == Tagging::Implicit && kIsPrimitive<V>;
  return tag.tagClass | (primitive ? 0 : kConstructedBit) | tag.number << 24;
}

// The tags that a value may start with: those of its type, or that of the row, which also has a constructed
// form where the type has one.
constexpr AsnTag first_tag(const Type& type, AsnTag ofRow, Tagging tagging) {
  if (tagging != Tagging::None) return ofRow;
  return type.kind == Kind::Choice ? kNoTag : type.tag;
}
constexpr AsnTag second_tag(const Type& type, AsnTag first, Tagging tagging) {
  if (tagging == Tagging::Explicit || type.altTag == 0) return first;
  return tagging == Tagging::None ? type.altTag : first | kConstructedBit;
}

template <class R, class M, class V>
constexpr Row<R> row(Member<R, M> m, const TypeOf<V>& type, Need need, Tag tag) {
  static_assert(std::is_same_v<M, V> || std::is_same_v<M, V*>,
                "a row names a type whose values its member does not hold");
  Row<R> made{};
  made.name = m.name;
  made.type = &type;
  made.offset = m.offset;
  made.tag = tag_octets<V>(tag);
  made.firstTag = first_tag(type, made.tag, tag.tagging);
  made.secondTag = second_tag(type, made.firstTag, tag.tagging);
  made.definedBy = -1;
  made.tagging = tag.tagging;
  made.held = std::is_pointer_v<M> ? Held::Pointer : Held::Inline;
  made.need = need;
  made.checksInnerTag = tag.tagging == Tagging::Explicit && kHasOwnTag<V>;
  return made;
}

template <class R, class M, class V>
constexpr Row<R> must(Member<R, M> m, const TypeOf<V>& type, Tag tag = kOwnTag) {
  return row(m, type, Need::Mandatory, tag);
}
// OPTIONAL: absent stays absent. Inline values show it by their octets.
template <class R, class M, class V>
constexpr Row<R> may(Member<R, M> m, const TypeOf<V>& type, Tag tag = kOwnTag) {
  static_assert(std::is_pointer_v<M> || std::is_same_v<V, AsnOcts> || std::is_same_v<V, AsnBits> ||
                    std::is_same_v<V, AsnOid> || std::is_same_v<V, AsnAny>,
                "an OPTIONAL value without octets of its own is held by a pointer");
  return row(m, type, Need::Optional, tag);
}
// DEFAULT, which the engine treats as OPTIONAL: no value is filled in.
template <class R, class M, class V>
constexpr Row<R> may_default(Member<R, M> m, const TypeOf<V>& type, Tag tag = kOwnTag) {
  Row<R> r = may(m, type, tag);
  r.need = Need::Default;
  return r;
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

// --- Descriptors ---------------------------------------------------------------

enum class Top : bool { No, Yes };  // a top type has a full decoder

constexpr uint16_t up_to_last_mandatory(std::span<const Field> fields) {
  size_t n = fields.size();
  while (n > 0 && fields[n - 1].need != Need::Mandatory) --n;
  return uint16_t(n);
}

// fail_named in codec.cpp has room for a name of so many characters.
inline constexpr size_t kLongestTypeName = 64;

// give_codes gives every site of the type its code; a type whose sites are not those that
// kCodeRuns names does not compile.
constexpr void give_codes(Type& t, std::span<Field> fields) {
  if (std::string_view(t.name).size() > kLongestTypeName) throw "a type's name is at most 64 characters long";
  const bool record = t.kind == Kind::Sequence || t.kind == Kind::Set;
  SiteCodes codes(t.name);
  if (t.top && t.kind != Kind::Choice) t.wrongTagCode = codes.next("wrongTag");
  for (Field& f : fields) {
    if (record && f.need == Need::Mandatory) f.missingCode = codes.next(f.name);
    if (f.checksInnerTag) f.innerTagCode = codes.next(f.name, ".tag");
  }
  if (t.kind == Kind::Choice || t.kind == Kind::Set || t.kind == Kind::ListOf) {
    t.unexpectedCode = codes.next("unexpected");
  }
  if (record || t.kind == Kind::ListOf) t.lengthCode = codes.next("length");
  if (t.kind == Kind::Sequence && fields.back().need != Need::Mandatory) {
    t.trailingCode = codes.next("trailing");
  }
  codes.finish();
}

[[nodiscard]] constexpr bool is_open(const Field& f) {
  return f.type->kind == Kind::Any || f.type->kind == Kind::OpenList;
}

// An open type is decoded after its identifier, which is there for certain.
constexpr void check_open_type([[maybe_unused]] const char* type, [[maybe_unused]] const char* field,
                               Kind kind, const Field& open, std::span<const Field> before) {
  if (kind != Kind::Sequence) throw "an open type is a field of a SEQUENCE, where its identifier comes first";
  if (open.definedBy < 0) throw "an open type is declared with defined_by";
  if (open.type->kind == Kind::Any && open.held == Held::Pointer) throw "an ANY is held in the record itself";
  const Field* by = nullptr;
  for (const Field& f : before) {
    if (int32_t(f.offset) == open.definedBy) by = &f;
  }
  if (by == nullptr) throw "defined_by names a field that does not come before the open type";
  if (by->need != Need::Mandatory) throw "defined_by names a field that may be absent";
  if (open.tagging != Tagging::None) return;
  if (before.back().need != Need::Mandatory) {
    throw "an open type after an OPTIONAL field has a tag of its own";
  }
}
// Declarations that the engine could not handle do not compile.
constexpr void check_fields(const char* type, Kind kind, std::span<const Field> fields) {
  for (size_t i = 0; i < fields.size(); ++i) {
    const Field& f = fields[i];
    if (is_open(f)) check_open_type(type, f.name, kind, f, fields.first(i));
    if (f.type->kind == Kind::OpenList && (f.definedByInt || f.tagging != Tagging::None)) {
      throw "an open SET has its own tag and an OBJECT IDENTIFIER";
    }
    if (kind == Kind::Choice && (f.held == Held::Inline || f.need != Need::Mandatory)) {
      throw "an alternative is a row of must() whose member is a pointer";
    }
  }
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
    check_fields(typeName, recordKind, rows);
    give_codes(*this, rows);
  }
  RecordType(const RecordType&) = delete;
  RecordType& operator=(const RecordType&) = delete;
};

// Sequence, Set and Choice take the type's name, Top::Yes for a top type, and a row for each
// field in the order of the ASN.1.
template <class R, size_t N>
struct Sequence : RecordType<R, N> {
  template <class... Rows>
  constexpr Sequence(const char* typeName, const Row<R>& first, const Rows&... more)
      : Sequence(typeName, Top::No, first, more...) {}
  template <class... Rows>
  constexpr Sequence(const char* typeName, Top isTop, const Row<R>& first, const Rows&... more)
      : RecordType<R, N>(Kind::Sequence, 0x30000000, typeName, isTop, first, more...) {}
};
template <class R, class... Rows>
Sequence(const char*, Row<R>, Rows...) -> Sequence<R, 1 + sizeof...(Rows)>;
template <class R, class... Rows>
Sequence(const char*, Top, Row<R>, Rows...) -> Sequence<R, 1 + sizeof...(Rows)>;

template <class R, size_t N>
struct Set : RecordType<R, N> {
  template <class... Rows>
  constexpr Set(const char* typeName, const Row<R>& first, const Rows&... more)
      : RecordType<R, N>(Kind::Set, 0x31000000, typeName, Top::No, first, more...) {
    static_assert(N <= 32, "a SET has at most 32 fields: the decoder marks those that it met in 32 bits");
  }
};
template <class R, class... Rows>
Set(const char*, Row<R>, Rows...) -> Set<R, 1 + sizeof...(Rows)>;

// The record of a CHOICE starts with the number of the alternative, 0 for the first one, and
// holds one pointer to its value.
template <class R, size_t N>
struct Choice : RecordType<R, N> {
  template <class... Rows>
  constexpr Choice(const char* typeName, const Row<R>& first, const Rows&... more)
      : Choice(typeName, Top::No, first, more...) {}
  template <class... Rows>
  constexpr Choice(const char* typeName, Top isTop, const Row<R>& first, const Rows&... more)
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
  static_assert(!std::is_same_v<E, AsnAny> && !std::is_same_v<E, ListOf<AsnAny>>,
                "the elements of a list are of no open type: OpenSetOf holds those");
  give_codes(t, {});
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

// A SET OF ANY DEFINED BY an identifier of the record around it. Where `shapes` allows it, a single value
// replaces the SET.
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
  give_codes(base, {});
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
