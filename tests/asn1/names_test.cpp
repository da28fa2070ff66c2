// Directory names and general names (RFC 5280 sections 4.1.2.4 and 4.2.1.6).
#include "asn1/names.h"

#include "asn1/x400.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const auto kDistinguishedNameRoutines = TOP_AS(DistinguishedName, DistinguishedName);

TEST(DirectoryString, EveryAlternativeHasItsTagAndNumber) {
  const struct {
    uint8_t tag;
    AsnInt choice;
  } cases[] = {{0x14, 0}, {0x13, 1}, {0x1C, 2}, {0x0C, 3}, {0x1E, 4}};
  for (const auto& c : cases) {
    const Octets primitive = element(c.tag, octets("abcd"));
    const Octets parts = concat(octet_string(octets("ab")), octet_string(octets("cd")));
    for (const Octets& in :
         {primitive, element(uint8_t(c.tag | 0x20), parts), indefinite(uint8_t(c.tag | 0x20), parts)}) {
      Decoded v(TOP(DirectoryString), in);
      ASSERT_EQ(v.outcome, kDecoded);
      EXPECT_EQ(v.used, in.size());
      EXPECT_EQ(v->choice, c.choice);
      EXPECT_EQ(TextOf(*v->utf8String), "abcd");
      EXPECT_EQ(v.encoded(), primitive);
    }
    ExpectRoundTrip(TOP(DirectoryString), primitive);
  }
}

TEST(DirectoryString, OtherStringTypesAreRefused) {
  for (const uint8_t tag : {uint8_t{0x16}, uint8_t{0x12}, uint8_t{0x04}, uint8_t{0x80}}) {
    ExpectRefused(TOP(DirectoryString), Octets{tag, 0}, site_code(kDirectoryString, Site::Unexpected),
                  "ERROR - unexpected tag in CHOICE\n");
  }
}

TEST(AttributeTypeAndValue, TheTypeDecidesTheFormOfTheValue) {
  const Octets country = hex("3009 0603550406 13025345");
  Decoded v(NESTED(AttributeTypeAndValue), country);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->type), "550406");
  EXPECT_EQ(RowOf(v->value), 27);
  EXPECT_EQ(TextOf(*static_cast<const AsnOcts*>(v->value.value)), "SE");
  ExpectRoundTrip(NESTED(AttributeTypeAndValue), country);
}

// countryName is a PrintableString and emailAddress an IA5String, whatever a certificate says.
TEST(AttributeTypeAndValue, AStringOfAnotherTypeIsAWrongTag) {
  const struct {
    const char* type;
    const char* text;
  } cases[] = {{"2.5.4.6", "BDecPrintableString1: ERROR - wrong tag\n"},
               {"1.2.840.113549.1.9.1", "BDecPkcs9email: ERROR - wrong tag\n"}};
  for (const auto& c : cases) {
    Decoded v(NESTED(AttributeTypeAndValue), sequence(oid(c.type), utf8_string("SE")));
    EXPECT_EQ(v.outcome.text, c.text);
    EXPECT_LE(v.outcome.code, -100);
  }
}

TEST(AttributeTypeAndValue, TypesWithoutARowAreRefused) {
  for (const char* type :
       {"0.9.2342.19200300.100.1.25", "2.5.4.4", "2.5.4.41", "2.5.4.42", "2.5.4.43", "2.5.4.44"}) {
    ExpectRefused(NESTED(AttributeTypeAndValue), sequence(oid(type), printable_string("x")), -44,
                  "ERROR - ANY Decode routine is NULL\n");
  }
}

TEST(DistinguishedName, IsAListOfSets) {
  const Octets two = set(sample::common_name("a"), sequence(oid("2.5.4.10"), printable_string("b")));
  const Octets name = sequence(two, set(sequence(oid("2.5.4.6"), printable_string("SE"))), set());
  Decoded v(kDistinguishedNameRoutines, name);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->count, 3);
  EXPECT_EQ(At<AsnList>(&v.value, 0)->count, 2);
  EXPECT_EQ(At<AsnList>(&v.value, 1)->count, 1);
  EXPECT_EQ(At<AsnList>(&v.value, 2)->count, 0);
  ExpectRoundTrip(kDistinguishedNameRoutines, name);
  ExpectRoundTrip(kDistinguishedNameRoutines, sequence());
  ExpectRoundTrip(NESTED(RelativeDistinguishedName), two);
}

TEST(DistinguishedName, Failures) {
  ExpectWrongTag(kDistinguishedNameRoutines, "BDecDistinguishedName: ERROR - wrong tag\n");
  ExpectRefused(kDistinguishedNameRoutines, sequence(sample::common_name("a")),
                site_code(kDistinguishedName, Site::Unexpected), "Unexpected Tag\n");
  ExpectRefused(kDistinguishedNameRoutines, sequence(set(oid("2.5.4.3"))),
                site_code(kRelativeDistinguishedName, Site::Unexpected), "Unexpected Tag\n");
}

TEST(Name, HasOneAlternative) {
  Decoded v(NESTED(Name), sample::name("x"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->choice, 0);
  EXPECT_EQ(v->rdnSequence->count, 1);
  ExpectRoundTrip(NESTED(Name), sample::name("x"));
}

TEST(OtherName, IsDecodedByItsType) {
  const Octets known = sequence(oid("2.5.4.3"), context(0, utf8_string("x")));
  Decoded v(NESTED(OtherName), known);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->typeId), "550403");
  EXPECT_EQ(RowOf(v->value), 41);
  ExpectRoundTrip(NESTED(OtherName), known);
  ExpectRefused(NESTED(OtherName), sequence(oid("1.3.6.1.4.1.311.20.2.3"), context(0, utf8_string("x"))), -44,
                "ERROR - ANY Decode routine is NULL\n");
  ExpectRefused(NESTED(OtherName), sequence(oid("2.5.4.3"), utf8_string("x")),
                site_code(kOtherName, Site::Missing, 1));
}

TEST(EDIPartyName, BothTagsAreExplicit) {
  const Octets both = hex("300c a004 13026162 a104 0c026364");
  Decoded v(NESTED(EDIPartyName), both);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->nameAssigner->choice, DirectoryString::kPrintable);
  EXPECT_EQ(TextOf(*v->partyName->utf8String), "cd");
  ExpectRoundTrip(NESTED(EDIPartyName), both);
  ExpectRoundTrip(NESTED(EDIPartyName), hex("3006 a104 0c026364"));
  ExpectRefused(NESTED(EDIPartyName), hex("3006 a004 0c026364 0000"),
                site_code(kEDIPartyName, Site::Missing, 1));
  ExpectRefused(NESTED(EDIPartyName), hex("3006 a104 16026364"),
                site_code(kDirectoryString, Site::Unexpected), "ERROR - unexpected tag in CHOICE\n");
}

TEST(GeneralName, EveryAlternativeHasItsTagAndNumber) {
  const struct {
    const char* octets;
    AsnInt choice;
  } cases[] = {
      {"a00a 0603550403 a003 130178", GeneralName::kOther},
      {"8103 614062", GeneralName::kRfc822Name},
      {"8203 612e62", GeneralName::kDNSName},
      {"a302 3000", GeneralName::kX400Address},
      {"a40e 300c 310a 3008 0603550403 130178", GeneralName::kDirectoryName},
      {"a505 a103 130178", GeneralName::kEdiPartyName},
      {"8603 753a76", GeneralName::kUniformResourceIdentifier},
      {"8704 c0000201", GeneralName::kIPAddress},
      {"8803 2a0304", GeneralName::kRegisteredID},
  };
  for (const auto& c : cases) {
    Decoded v(NESTED(GeneralName), hex(c.octets));
    ASSERT_EQ(v.outcome, kDecoded) << c.octets;
    EXPECT_EQ(v->choice, c.choice);
    ExpectRoundTrip(NESTED(GeneralName), hex(c.octets));
  }
}

TEST(GeneralName, StringsMayBeConstructed) {
  const Octets parts = concat(octet_string(octets("a@")), octet_string(octets("b")));
  for (const uint8_t n : {uint8_t{1}, uint8_t{2}, uint8_t{6}, uint8_t{7}}) {
    for (const Octets& in : {element(uint8_t(0xA0 | n), parts), indefinite(uint8_t(0xA0 | n), parts)}) {
      Decoded v(NESTED(GeneralName), in);
      ASSERT_EQ(v.outcome, kDecoded);
      EXPECT_EQ(v->choice, n);
      EXPECT_EQ(v.encoded(), element(uint8_t(0x80 | n), octets("a@b")));
    }
  }
}

// registeredID is an OBJECT IDENTIFIER, which has no constructed form; the structured ones have no
// primitive one; and there is no [9].
TEST(GeneralName, OtherTagsAreRefused) {
  for (const char* octets : {"a800", "8000", "8300", "8400", "8500", "8900", "a900", "3000"}) {
    ExpectRefused(NESTED(GeneralName), hex(octets), site_code(kGeneralName, Site::Unexpected),
                  "ERROR - unexpected tag in CHOICE\n");
  }
}

// directoryName is EXPLICIT, for a Name is a CHOICE: the tag of the sequence is inside.
TEST(GeneralName, DirectoryNameHoldsAWholeName) {
  Decoded v(NESTED(GeneralName), context(4, set(sample::common_name("x"))));
  EXPECT_EQ(v.outcome, (Outcome{site_code(kName, Site::Unexpected), "ERROR - unexpected tag in CHOICE\n"}));
}

TEST(GeneralNames, KeepTheirOrder) {
  const Octets names = sequence(hex("820161"), sample::directory_name("b"), hex("810163"));
  Decoded v(NESTED(GeneralNames), names);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(At<GeneralName>(&v.value, 0)->choice, GeneralName::kDNSName);
  EXPECT_EQ(At<GeneralName>(&v.value, 1)->choice, GeneralName::kDirectoryName);
  EXPECT_EQ(At<GeneralName>(&v.value, 2)->choice, GeneralName::kRfc822Name);
  ExpectRoundTrip(NESTED(GeneralNames), names);
}

}  // namespace
}  // namespace qex::test
