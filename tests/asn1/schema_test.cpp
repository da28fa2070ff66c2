// The checks of a type's declaration, each on the declarations next to its limit.
#include "asn1/schema.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/compile_time_checks.h"

namespace qex::test {
namespace {

using Fields = std::vector<Field>;

Field field(const Type& type, uint32_t offset, Need need = Need::Mandatory, Held held = Held::Inline) {
  Field f{};
  f.name = "field";
  f.type = &type;
  f.offset = offset;
  f.definedBy = -1;
  f.held = held;
  f.need = need;
  return f;
}

constexpr int32_t kIdentifierOffset = 8;
const Field kNumber = field(kAsnInt, 0);
const Field kIdentifier = field(kAsnOid, kIdentifierOffset);

// An ANY DEFINED BY the identifier above.
Field open_field() {
  Field f = field(kAsnAny, 24);
  f.definedBy = kIdentifierOffset;
  return f;
}

std::string fields_refusal(Kind kind, const Fields& fields) {
  return RefusalOf([&] { check_fields("Record", kind, fields); });
}

TEST(Schema, ATagNumberIsAtMost30) {
  EXPECT_EQ(implicit_tag(0).number, 0u);
  EXPECT_EQ(implicit_tag(30).number, 30u);
  EXPECT_NE(RefusalOf([] { return implicit_tag(31); }), "");
}

// X.690 8.1.2.5 and 8.14: an IMPLICIT tag takes the form of the value, any other tag is constructed.
TEST(Schema, OnlyAnImplicitTagAroundAPrimitiveValueIsPrimitive) {
  EXPECT_EQ(tag_octets<AsnInt>(implicit_tag(1)), 0x81000000u);
  EXPECT_EQ(tag_octets<AsnInt>(explicit_tag(1)), 0xA1000000u);
  EXPECT_EQ(tag_octets<ListOf<AsnInt>>(implicit_tag(1)), 0xA1000000u);
  EXPECT_EQ(tag_octets<ListOf<AsnInt>>(explicit_tag(1)), 0xA1000000u);
}

TEST(Schema, AnOpenTypeTakesNoImplicitTag) {
  EXPECT_NE(RefusalOf([] { return tag_octets<AsnAny>(implicit_tag(1)); }), "");
  EXPECT_EQ(RefusalOf([] { return tag_octets<AsnAny>(explicit_tag(1)); }), "");
}

TEST(Schema, TheMandatoryFieldsEndWithTheLastOfThem) {
  const Field optional = field(kAsnOcts, 16, Need::Optional);
  const Field byDefault = field(kAsnOcts, 16, Need::Default);
  EXPECT_EQ(up_to_last_mandatory(Fields{optional}), 0);
  EXPECT_EQ(up_to_last_mandatory(Fields{optional, byDefault}), 0);
  EXPECT_EQ(up_to_last_mandatory(Fields{kNumber, optional}), 1);
  EXPECT_EQ(up_to_last_mandatory(Fields{optional, kNumber, byDefault}), 2);
  EXPECT_EQ(up_to_last_mandatory(Fields{optional, kNumber}), 2);
}

TEST(Schema, AnOpenTypeComesAfterItsIdentifier) {
  constexpr const char* kLater = "defined_by names a field that does not come before the open type";
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, open_field()}), "");
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, kNumber, open_field()}), "");
  EXPECT_EQ(fields_refusal(Kind::Sequence, {open_field(), kIdentifier}), kLater);
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kNumber, open_field(), kIdentifier}), kLater);
}

TEST(Schema, AnOpenTypeIsAFieldOfASequence) {
  EXPECT_EQ(fields_refusal(Kind::Set, {kIdentifier, open_field()}),
            "an open type is a field of a SEQUENCE, where its identifier comes first");
}

TEST(Schema, AnOpenTypeNamesItsIdentifier) {
  Field open = open_field();
  open.definedBy = -1;
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, open}), "an open type is declared with defined_by");
}

TEST(Schema, AnAnyIsHeldInTheRecord) {
  Field open = open_field();
  open.held = Held::Pointer;
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, open}), "an ANY is held in the record itself");
}

TEST(Schema, AnIdentifierIsMandatory) {
  Field identifier = kIdentifier;
  identifier.need = Need::Optional;
  EXPECT_EQ(fields_refusal(Kind::Sequence, {identifier, open_field()}),
            "defined_by names a field that may be absent");
}

// The decoder of an open type reads the tag, which an absent field would already have read.
TEST(Schema, AnOpenTypeAfterAnOptionalFieldHasATag) {
  const Field optional = field(kAsnOcts, 16, Need::Optional);
  Field open = open_field();
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, optional, open}),
            "an open type after an OPTIONAL field has a tag of its own");
  open.tagging = Tagging::Explicit;
  EXPECT_EQ(fields_refusal(Kind::Sequence, {kIdentifier, optional, open}), "");
}

TEST(Schema, AnAlternativeIsMandatoryAndHeldByAPointer) {
  constexpr const char* kText = "an alternative is a row of must() whose member is a pointer";
  const Field good = field(kAsnInt, 8, Need::Mandatory, Held::Pointer);
  EXPECT_EQ(fields_refusal(Kind::Choice, {good, good}), "");
  for (const Field& bad :
       {field(kAsnInt, 8, Need::Mandatory, Held::Inline), field(kAsnInt, 8, Need::Optional, Held::Pointer),
        field(kAsnInt, 8, Need::Default, Held::Pointer)}) {
    EXPECT_EQ(fields_refusal(Kind::Choice, {bad, good}), kText);
    EXPECT_EQ(fields_refusal(Kind::Choice, {good, bad}), kText);
    EXPECT_EQ(fields_refusal(Kind::Choice, {good, good, bad}), kText);
  }
}

TEST(Schema, ATypeNameHasAtMost64Characters) {
  constexpr const char* kTooLong = "a type's name is at most 64 characters long";
  const auto refusal_of = [](const std::string& name) {
    Type type{};
    type.name = name.c_str();
    return RefusalOf([&] { give_codes(type, {}); });
  };
  EXPECT_EQ(refusal_of(std::string(65, 'a')), kTooLong);
  EXPECT_NE(refusal_of(std::string(64, 'a')), kTooLong);  // another one: kCodeRuns does not name it
}

// The codes of PKIFreeText are those of a list; a CHOICE has no site for a wrong length.
TEST(Schema, EveryCodeOfATypeHasASite) {
  Type type{};
  type.name = "PKIFreeText";
  type.kind = Kind::ListOf;
  EXPECT_EQ(RefusalOf([&] { give_codes(type, {}); }), "");
  type.kind = Kind::Choice;
  EXPECT_NE(RefusalOf([&] { give_codes(type, {}); }), "");
}

// An INTEGER, a BOOLEAN and a NULL have no octets that could be missing.
TEST(Schema, AnInlineValueWithoutOctetsIsNeverAbsent) {
  const AsnInt number = 0;
  const AsnBool truth{};
  const AsnNull null{};
  EXPECT_FALSE(kIntCodec.absent(&number));
  EXPECT_FALSE(kBoolCodec.absent(&truth));
  EXPECT_FALSE(kNullCodec.absent(&null));
}

}  // namespace
}  // namespace qex::test
