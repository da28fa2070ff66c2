// Attribute syntaxes of X.520, as directory names hold them.
#include "asn1/x520.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

TEST(X520Strings, EachHasOneTagInTwoForms) {
  const struct {
    Routines<AsnOcts> routines;
    uint8_t tag;
    const char* text;
  } cases[] = {
      {TOP_AS(PrintableString1, PrintableString1), 0x13, "BDecPrintableString1: ERROR - wrong tag\n"},
      {TOP_AS(X520InternationalISDNNumber, X520InternationalISDNNumber), 0x12,
       "BDecX520InternationalISDNNumber: ERROR - wrong tag\n"},
      {TOP_AS(X121Address, X121Address), 0x12, "BDecX121Address: ERROR - wrong tag\n"},
      {TOP_AS(DomainComponent, DomainComponent), 0x16, "BDecDomainComponent: ERROR - wrong tag\n"},
      {TOP_AS(Pkcs9email, Pkcs9email), 0x16, "BDecPkcs9email: ERROR - wrong tag\n"},
  };
  for (const auto& c : cases) {
    const Octets primitive = element(c.tag, octets("01"));
    ExpectRoundTrip(c.routines, primitive);
    Decoded v(c.routines,
              element(uint8_t(c.tag | 0x20), octet_string(octets("0")), octet_string(octets("1"))));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(TextOf(v.value), "01");
    EXPECT_EQ(v.encoded(), primitive);
    ExpectWrongTag(c.routines, c.text, 0x0C);
    ExpectWrongTag(c.routines, c.text, uint8_t(c.tag | 0x80));
  }
}

TEST(X520TelexNumber, HasThreeStrings) {
  const Octets telex = hex("3009 130131 130132 130133");
  Decoded v(TOP(X520TelexNumber), telex);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(v->telexNumber), "1");
  EXPECT_EQ(TextOf(v->countryCode), "2");
  EXPECT_EQ(TextOf(v->answerback), "3");
  ExpectRoundTrip(TOP(X520TelexNumber), telex);
  ExpectWrongTag(TOP(X520TelexNumber), "BDecX520TelexNumber: ERROR - wrong tag\n");
  ExpectRefused(TOP(X520TelexNumber), hex("3006 130131 130132"), -26,
                "BDecTag: ERROR - decoded past the end of data\n");
  ExpectRefused(TOP(X520TelexNumber), hex("3008 130131 130132 0500"),
                site_code(kX520TelexNumber, Site::Missing, 2));
}

TEST(X520FacsimileTelephoneNumber, ParametersAreBits) {
  const Octets fax = hex("3009 1303313233 03020640");
  Decoded v(TOP(X520FacsimileTelephoneNumber), fax);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(v->telephoneNumber), "123");
  EXPECT_EQ(v->parameters.count, 2u);
  EXPECT_TRUE(AsnBitsTest(&v->parameters, 1));
  ExpectRoundTrip(TOP(X520FacsimileTelephoneNumber), fax);
  ExpectRoundTrip(TOP(X520FacsimileTelephoneNumber), hex("3005 1303313233"));
  ExpectRoundTrip(TOP(X520FacsimileTelephoneNumber), hex("3008 1303313233 030100"));
  ExpectWrongTag(TOP(X520FacsimileTelephoneNumber), "BDecX520FacsimileTelephoneNumber: ERROR - wrong tag\n");
}

TEST(X520PreferredDeliveryMethod, IsAListOfIntegers) {
  const auto routines = TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod);
  const Octets methods = hex("3009 020109 020100 020101");
  Decoded v(routines, methods);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->count, 3);
  EXPECT_EQ(*At<AsnInt>(&v.value, 0), 9);
  ExpectRoundTrip(routines, methods);
  ExpectWrongTag(routines, "BDecX520PreferredDeliveryMethod: ERROR - wrong tag\n");
}

TEST(X520PostalAddress, IsAListOfDirectoryStrings) {
  const auto routines = TOP_AS(X520PostalAddress, X520PostalAddress);
  const Octets address = hex("300d 130161 0c0162 140163 1e020064");
  Decoded v(routines, address);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->count, 4);
  EXPECT_EQ(At<DirectoryString>(&v.value, 0)->choice, DirectoryString::kPrintable);
  EXPECT_EQ(At<DirectoryString>(&v.value, 1)->choice, DirectoryString::kUtf8);
  EXPECT_EQ(At<DirectoryString>(&v.value, 2)->choice, DirectoryString::kTeletex);
  EXPECT_EQ(At<DirectoryString>(&v.value, 3)->choice, DirectoryString::kBmp);
  ExpectRoundTrip(routines, address);
  ExpectWrongTag(routines, "BDecX520PostalAddress: ERROR - wrong tag\n");
  ExpectRefused(routines, hex("3002 1600"), site_code(kX520PostalAddress, Site::Unexpected),
                "Unexpected Tag\n");
}

// RFC 5280 writes EXPLICIT to all four tags.
TEST(X520PresentationAddress, AllTagsAreExplicit) {
  const Octets address = hex("3011 a003040101 a203040102 a3053103040103");
  Decoded v(TOP(X520PresentationAddress), address);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->pSelector), "01");
  EXPECT_EQ(v->sSelector.octs, nullptr);
  EXPECT_EQ(ToHex(v->tSelector), "02");
  ASSERT_EQ(v->nAddresses->count, 1);
  EXPECT_EQ(ToHex(*At<AsnOcts>(v->nAddresses, 0)), "03");
  ExpectRoundTrip(TOP(X520PresentationAddress), address);
  ExpectRoundTrip(TOP(X520PresentationAddress), hex("3004 a3023100"));
  ExpectRoundTrip(TOP(X520PresentationAddress), hex("3013 a0020400 a1020400 a2020400 a3053103040103"));
  ExpectWrongTag(TOP(X520PresentationAddress), "BDecX520PresentationAddress: ERROR - wrong tag\n");
  ExpectRefused(TOP(X520PresentationAddress), hex("3005 a003040101 a300"), -26,
                "BDecTag: ERROR - decoded past the end of data\n");
  ExpectRefused(TOP(X520PresentationAddress), hex("3007 a003040101 a000"),
                site_code(kX520PresentationAddress, Site::Missing, 3));
  for (size_t i = 0; i < 4; ++i) {
    ExpectRefused(TOP(X520PresentationAddress), sequence(context(unsigned(i), null())),
                  site_code(kX520PresentationAddress, Site::InnerTag, i));
  }
}

TEST(X520ProtocolInformation, HasAnAddressAndProfiles) {
  const Octets info = hex("300d 0402c000 3107 06012a 06022a03");
  Decoded v(TOP(X520ProtocolInformation), info);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->nAddress), "c000");
  ASSERT_EQ(v->profiles->count, 2);
  EXPECT_EQ(ToHex(*At<AsnOid>(v->profiles, 1)), "2a03");
  ExpectRoundTrip(TOP(X520ProtocolInformation), info);
  ExpectWrongTag(TOP(X520ProtocolInformation), "BDecX520ProtocolInformation: ERROR - wrong tag\n");
}

TEST(X520UniqueMember, UidMayBeAbsent) {
  for (const Octets& uid : {Octets{}, bit_string(hex("a0"), 4)}) {
    const Octets member = sequence(sample::name("x"), uid);
    Decoded v(TOP(X520UniqueMember), member);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->dn->count, 1);
    EXPECT_EQ(v->uid.count, uid.empty() ? 0u : 4u);
    ExpectRoundTrip(TOP(X520UniqueMember), member);
  }
  ExpectWrongTag(TOP(X520UniqueMember), "BDecX520UniqueMember: ERROR - wrong tag\n");
}

TEST(NetworkAddresses, PartsOfAnAddressAreJoined) {
  Decoded v(NESTED(NetworkAddresses), set(element(0x24, octet_string(hex("01")), octet_string(hex("02")))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), set(octet_string(hex("0102"))));
}

}  // namespace
}  // namespace qex::test
