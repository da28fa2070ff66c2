// X.400 addresses, as general names carry them (RFC 5280 appendix A.1).
#include "asn1/x400.h"

#include "asn1/names.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

// The module has EXPLICIT tags; the IMPLICIT ones are written in it.
const Octets kStandard =
    hex("303b"
        "6104 13025345"                     // country-name [APPLICATION 1] EXPLICIT, iso-3166-alpha2-code
        "6203 120131"                       // administration-domain-name [APPLICATION 2] EXPLICIT, numeric
        "800132"                            // network-address
        "810133"                            // terminal-identifier
        "a203 130134"                       // private-domain-name [2] EXPLICIT, printable
        "830135"                            // organization-name
        "840136"                            // numeric-user-identifier
        "a50c 800161 810162 820163 830164"  // personal-name
        "a60f 130165 130166 130167 130168 130169");

TEST(BuiltInStandardAttributes, AllFieldsAreFoundUnderTheirTags) {
  Decoded v(NESTED(BuiltInStandardAttributes), kStandard);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->countryName->choice, CountryName::kIso3166Alpha2Code);
  EXPECT_EQ(TextOf(*v->countryName->iso3166Alpha2Code), "SE");
  EXPECT_EQ(v->administrationDomainName->choice, AdministrationDomainName::kNumeric);
  EXPECT_EQ(TextOf(*v->administrationDomainName->numeric), "1");
  EXPECT_EQ(TextOf(v->networkAddress), "2");
  EXPECT_EQ(TextOf(v->terminalIdentifier), "3");
  EXPECT_EQ(v->privateDomainName->choice, PrivateDomainName::kPrintable);
  EXPECT_EQ(TextOf(*v->privateDomainName->printable), "4");
  EXPECT_EQ(TextOf(v->organizationName), "5");
  EXPECT_EQ(TextOf(v->numericUserIdentifier), "6");
  EXPECT_EQ(TextOf(v->personalName->surname), "a");
  EXPECT_EQ(TextOf(v->personalName->givenName), "b");
  EXPECT_EQ(TextOf(v->personalName->initials), "c");
  EXPECT_EQ(TextOf(v->personalName->generationQualifier), "d");
  ASSERT_EQ(v->organizationalUnitNames->count, 5);
  EXPECT_EQ(TextOf(*At<AsnOcts>(v->organizationalUnitNames, 4)), "i");
  ExpectRoundTrip(NESTED(BuiltInStandardAttributes), kStandard);
}

TEST(BuiltInStandardAttributes, EveryFieldMayBeAbsent) {
  ExpectRoundTrip(NESTED(BuiltInStandardAttributes), hex("3000"));
  for (const char* field : {"610412025345", "6203130131", "800132", "810133", "a203120134", "830135",
                            "840136", "a503800161", "a600"}) {
    ExpectRoundTrip(NESTED(BuiltInStandardAttributes), sequence(hex(field)));
  }
  ExpectRefused(NESTED(BuiltInStandardAttributes), sequence(null()),
                site_code(kBuiltInStandardAttributes, Site::Trailing));
}

TEST(DomainNames, AreNumericOrPrintable) {
  for (const auto& [tag, choice] : {std::pair<uint8_t, AsnInt>{0x12, 0}, {0x13, 1}}) {
    const Octets text = element(tag, octets("46"));
    const Octets parts = element(uint8_t(tag | 0x20), octet_string(octets("4")), octet_string(octets("6")));
    for (const Octets& in : {text, parts}) {
      Decoded country(NESTED(CountryName), in);
      Decoded administration(NESTED(AdministrationDomainName), in);
      Decoded own(NESTED(PrivateDomainName), in);
      EXPECT_TRUE(country.ok() && administration.ok() && own.ok());
      EXPECT_EQ(country->choice, choice);
      EXPECT_EQ(administration->choice, choice);
      EXPECT_EQ(own->choice, choice);
      EXPECT_EQ(country.encoded(), text);
      EXPECT_EQ(administration.encoded(), text);
      EXPECT_EQ(own.encoded(), text);
    }
  }
  constexpr const char* kText = "ERROR - unexpected tag in CHOICE\n";
  ExpectRefused(NESTED(CountryName), hex("0c00"), site_code(kCountryName, Site::Unexpected), kText);
  ExpectRefused(NESTED(AdministrationDomainName), hex("0c00"),
                site_code(kAdministrationDomainName, Site::Unexpected), kText);
  ExpectRefused(NESTED(PrivateDomainName), hex("0c00"), site_code(kPrivateDomainName, Site::Unexpected),
                kText);
}

TEST(PersonalName, StringsMayBeConstructed) {
  Decoded v(NESTED(PersonalName), set(element(0xA0, octet_string(octets("ab")), octet_string(octets("c")))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(v->surname), "abc");
  EXPECT_EQ(v->givenName.octs, nullptr);
  EXPECT_EQ(v.encoded(), set(hex("8003616263")));
}

TEST(PersonalName, WithoutASurnameFailsInsideAnAddressToo) {
  ExpectRefused(NESTED(BuiltInStandardAttributes), sequence(hex("a503810162")),
                site_code(kPersonalName, Site::Missing, 0),
                "BDecPersonalNameContent: ERROR - non-optional elmt missing from SET\n");
}

TEST(BuiltInDomainDefinedAttribute, HasTypeAndValue) {
  const Octets list = sequence(sequence(printable_string("t"), printable_string("v")));
  Decoded v(NESTED(BuiltInDomainDefinedAttributes), list);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(At<BuiltInDomainDefinedAttribute>(&v.value, 0)->type), "t");
  EXPECT_EQ(TextOf(At<BuiltInDomainDefinedAttribute>(&v.value, 0)->value), "v");
  ExpectRoundTrip(NESTED(BuiltInDomainDefinedAttributes), list);
  ExpectRoundTrip(NESTED(BuiltInDomainDefinedAttribute),
                  sequence(printable_string("t"), printable_string("v")));
}

TEST(OrganizationalUnitNames, RoundTrip) {
  ExpectRoundTrip(NESTED(OrganizationalUnitNames), sequence(printable_string("a"), printable_string("")));
}

// No extension attribute is registered, so none decodes.
TEST(ExtensionAttribute, APresentOneIsRefused) {
  constexpr const char* kText = "ERROR - ANY Decode routine is NULL\n";
  for (const char* type : {"800101", "800117", "8002ff7f"}) {
    ExpectRefused(NESTED(ExtensionAttribute), sequence(hex(type), context(1, printable_string("x"))), -44,
                  kText);
  }
  ExpectRefused(NESTED(ExtensionAttributes), set(sequence(hex("800101"), context(1, null()))), -44, kText);
  ExpectRoundTrip(NESTED(ExtensionAttributes), set());
}

TEST(ORAddress, ListsMayBeAbsent) {
  const Octets defined = sequence(sequence(printable_string("t"), printable_string("v")));
  ExpectRoundTrip(NESTED(ORAddress), sequence(kStandard));
  ExpectRoundTrip(NESTED(ORAddress), sequence(kStandard, defined));
  ExpectRoundTrip(NESTED(ORAddress), sequence(kStandard, set()));
  ExpectRoundTrip(NESTED(ORAddress), sequence(sequence(), defined, set()));
  ExpectRefused(NESTED(ORAddress), sequence(set()), site_code(kORAddress, Site::Missing, 0));
  ExpectRefused(NESTED(ORAddress), sequence(kStandard, set(), null()), site_code(kORAddress, Site::Length));
}

// As a general name its tag replaces that of the SEQUENCE.
TEST(ORAddress, InAGeneralNameTheTagIsImplicit) {
  Decoded v(NESTED(GeneralName), context(3, kStandard));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(v->x400Address->builtInStandardAttributes->networkAddress), "2");
  ExpectRoundTrip(NESTED(GeneralName), context(3, kStandard));
}

}  // namespace
}  // namespace qex::test
