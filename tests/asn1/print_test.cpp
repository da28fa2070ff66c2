// Values as text: braces, names, indentation, and the forms of the primitive types.
#include <string>
#include <vector>

#include "asn1/attribute.h"
#include "asn1/cms.h"
#include "asn1/names.h"
#include "asn1/timestamp.h"
#include "asn1/timing.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "asn1/x520.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

template <class R>
std::string print(const Routines<R>& routines, const Octets& octets, unsigned indent = 0) {
  Decoded<R> v(routines, octets);
  EXPECT_EQ(v.outcome, kDecoded) << ToHex(octets);
  return v.printed(indent);
}

TEST(Print, NullPrintsNothing) {
  EXPECT_EQ(Printed([](FILE* f) { PrintTimeStampReq(f, nullptr, 0); }), "");
  EXPECT_EQ(Printed([](FILE* f) { PrintExtensions(f, nullptr, 8); }), "");
  EXPECT_EQ(Printed([](FILE* f) { PrintGeneralName(f, nullptr, 0); }), "");
}

TEST(Print, SequenceNamesItsPresentFields) {
  EXPECT_EQ(print(NESTED(Accuracy), hex("3006 020101 8101ff")),
            "{ -- SEQUENCE --\n"
            "    seconds 1,\n"
            "    micros -1\n"
            "}");
}

TEST(Print, AnEmptySequenceIsHeaderAndBrace) {
  EXPECT_EQ(print(NESTED(Accuracy), hex("3000")), "{ -- SEQUENCE --\n\n}");
}

// Fields are indented four blanks more than the brace that closes them; the header is not indented.
TEST(Print, TheIndentIsThatOfTheClosingBrace) {
  EXPECT_EQ(print(NESTED(Accuracy), hex("3003 020101"), 6),
            "{ -- SEQUENCE --\n"
            "          seconds 1\n"
            "      }");
}

TEST(Print, NestedValuesAreIndentedFurther) {
  EXPECT_EQ(
      print(TOP(TimeStampReq),
            sequence(integer(1), sequence(algorithm("1.3.14.3.2.26", null()), octet_string(hex("61620aff"))),
                     oid("1.2.840.3"), integer(500), boolean(true))),
      "{ -- SEQUENCE --\n"
      "    version 1,\n"
      "    messageImprint { -- SEQUENCE --\n"
      "        hashAlgorithm { -- SEQUENCE --\n"
      "            algorithm {1 3 14 3 2 26},\n"
      "            parameters NULL\n"
      "        },\n"
      "        hashedMessage '61620aff'H  -- \"ab..\" --\n"
      "    },\n"
      "    reqPolicy {1 2 840 3},\n"
      "    nonce '01f4'H  -- \"..\" --,\n"
      "    certReq TRUE\n"
      "}");
}

// An inline open type is printed whether it is there or not.
TEST(Print, AnAbsentOpenTypeShowsAsMalformed) {
  EXPECT_EQ(print(NESTED(AlgorithmIdentifier), algorithm("1.3.14.3.2.26")),
            "{ -- SEQUENCE --\n"
            "    algorithm {1 3 14 3 2 26},\n"
            "    parameters  -- ERROR: malformed ANY value --\n"
            "}");
  EXPECT_EQ(print(TOP(ContentInfo), sequence(oid("2.5.4"))),
            "{ -- SEQUENCE --\n"
            "    contentType {2 5 4},\n"
            "    content  -- ERROR: malformed ANY value --\n"
            "}");
}

TEST(Print, SequenceOfHasABlankBeforeTheNewline) {
  EXPECT_EQ(print(TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod),
                  sequence(integer(9), integer(0))),
            "{ -- SEQUENCE OF -- \n"
            "    9,\n"
            "    0\n"
            "}");
}

TEST(Print, SetOfHasABlankBeforeTheNewline) {
  EXPECT_EQ(print(NESTED(ProtocolProfiles), set(oid("1.2.3"))),
            "{ -- SET OF -- \n"
            "    {1 2 3}\n"
            "}");
  EXPECT_EQ(print(NESTED(ProtocolProfiles), set()), "{ -- SET OF -- \n\n}");
}

TEST(Print, SetHasItsOwnHeader) {
  EXPECT_EQ(print(NESTED(PersonalName), set(hex("810147"), hex("800153"))),
            "{ -- SET --\n"
            "    surname '53'H  -- \"S\" --,\n"
            "    given-name '47'H  -- \"G\" --\n"
            "}");
}

TEST(Print, ChoiceNamesItsAlternativeWithoutBraces) {
  EXPECT_EQ(print(NESTED(Time), utc_time("26Z")), "utcTime '32365a'H  -- \"26Z\" --");
  EXPECT_EQ(print(NESTED(Time), generalized_time("2Z")), "generalTime '325a'H  -- \"2Z\" --");
  EXPECT_EQ(print(NESTED(GeneralName), hex("88022a03")), "registeredID {1 2 3}");
}

TEST(Print, ANameFromTheOutsideToTheInside) {
  EXPECT_EQ(print(NESTED(GeneralName), sample::directory_name("x")),
            "directoryName rdnSequence { -- SEQUENCE OF -- \n"
            "    { -- SET OF -- \n"
            "        { -- SEQUENCE --\n"
            "            type {2 5 4 3},\n"
            "            value utf8String '78'H  -- \"x\" --\n"
            "        }\n"
            "    }\n"
            "}");
}

TEST(Print, ListsSeparateTheirElements) {
  EXPECT_EQ(print(NESTED(Validity), sequence(utc_time("1"), utc_time("2")), 4),
            "{ -- SEQUENCE --\n"
            "        notBefore utcTime '31'H  -- \"1\" --,\n"
            "        notAfter utcTime '32'H  -- \"2\" --\n"
            "    }");
  EXPECT_EQ(print(NESTED(Extensions), sequence(sample::extension_list())),
            "{ -- SEQUENCE OF -- \n"
            "    { -- SEQUENCE --\n"
            "        extnID {2 5 29 15},\n"
            "        critical TRUE,\n"
            "        extnValue '030206c0'H  -- \"....\" --\n"
            "    },\n"
            "    { -- SEQUENCE --\n"
            "        extnID {2 5 29 19},\n"
            "        extnValue '3000'H  -- \"0.\" --\n"
            "    }\n"
            "}");
}

TEST(Print, AttributeValuesAreASetOf) {
  EXPECT_EQ(print(NESTED(Attribute), sample::attribute("1.2.840.113549.1.9.3", oid("1.2.3"))),
            "{ -- SEQUENCE --\n"
            "    type {1 2 840 113549 1 9 3},\n"
            "    values { -- SET OF -- \n"
            "        {1 2 3}\n"
            "    }\n"
            "}");
}

TEST(Print, BitsAreHexadecimal) {
  EXPECT_EQ(print(NESTED(PKIStatusInfo), sequence(integer(2), bit_string(hex("0280"), 7))),
            "{ -- SEQUENCE --\n"
            "    status 2,\n"
            "    failInfo '0280'H\n"
            "}");
  EXPECT_EQ(print(NESTED(PKIStatusInfo), sequence(integer(2), hex("030100"))),
            "{ -- SEQUENCE --\n"
            "    status 2,\n"
            "    failInfo ''H\n"
            "}");
}

TEST(Print, NamesAreThoseOfTheModules) {
  const Octets address = sequence(sequence(hex("610413025345"), hex("6203120131")),
                                  sequence(sequence(printable_string("t"), printable_string("v"))));
  EXPECT_EQ(print(NESTED(ORAddress), address),
            "{ -- SEQUENCE --\n"
            "    built-in-standard-attributes { -- SEQUENCE --\n"
            "        country-name iso-3166-alpha2-code '5345'H  -- \"SE\" --,\n"
            "        administration-domain-name numeric '31'H  -- \"1\" --\n"
            "    },\n"
            "    built-in-domain-defined-attributes { -- SEQUENCE OF -- \n"
            "        { -- SEQUENCE --\n"
            "            type '74'H  -- \"t\" --,\n"
            "            value '76'H  -- \"v\" --\n"
            "        }\n"
            "    }\n"
            "}");
  EXPECT_EQ(print(NESTED(OtherName), sequence(oid("2.5.4.3"), context(0, utf8_string("x")))),
            "{ -- SEQUENCE --\n"
            "    type-id {2 5 4 3},\n"
            "    value utf8String '78'H  -- \"x\" --\n"
            "}");
}

// The tables write out the names that are no C++ identifiers: those of RFC 5280, appendix A, with hyphens.
TEST(Print, HyphenatedNamesAreThoseOfTheModule) {
  const struct {
    const Type* type;
    std::vector<std::string> names;
  } rows[] = {
      {&kOtherName, {"type-id", "value"}},
      {&kCountryName, {"x121-dcc-code", "iso-3166-alpha2-code"}},
      {&kPersonalName, {"surname", "given-name", "initials", "generation-qualifier"}},
      {&kBuiltInStandardAttributes,
       {"country-name", "administration-domain-name", "network-address", "terminal-identifier",
        "private-domain-name", "organization-name", "numeric-user-identifier", "personal-name",
        "organizational-unit-names"}},
      {&kExtensionAttribute, {"extension-attribute-type", "extension-attribute-value"}},
      {&kORAddress,
       {"built-in-standard-attributes", "built-in-domain-defined-attributes", "extension-attributes"}},
  };
  for (const auto& row : rows) {
    std::vector<std::string> names;
    for (const Field& f : row.type->fields) names.emplace_back(f.name);
    EXPECT_EQ(names, row.names) << row.type->name;
  }
}

// The names that are printed are those of the modules' fields, type by type.
TEST(Print, AWholeTokenNamesEveryField) {
  const std::string text = print(
      TOP(ContentInfo),
      sample::token(sample::signed_data(context(0, sample::certificate(), context(1, sample::ac_v1_fields()),
                                                context(2, sample::ac_fields())))));
  size_t at = 0;
  for (const char* name : {"contentType ",
                           "content ",
                           "version ",
                           "digestAlgorithms ",
                           "encapContentInfo ",
                           "eContentType ",
                           "eContent ",
                           "certificates ",
                           "certificate ",
                           "tbsCertificate ",
                           "version 2",
                           "serialNumber ",
                           "signature ",
                           "issuer ",
                           "rdnSequence ",
                           "validity ",
                           "notBefore utcTime ",
                           "notAfter generalTime ",
                           "subject ",
                           "subjectPublicKeyInfo ",
                           "algorithm ",
                           "subjectPublicKey ",
                           "extensions ",
                           "extnID ",
                           "critical ",
                           "extnValue ",
                           "signatureAlgorithm ",
                           "signature ",
                           "v1AttrCert ",
                           "v2AttrCert ",
                           "acinfo ",
                           "holder ",
                           "baseCertificateID ",
                           "issuer ",
                           "serialNumber ",
                           "issuer v2Form ",
                           "issuerName ",
                           "signature ",
                           "attrCertValidityPeriod ",
                           "notBeforeTime ",
                           "notAfterTime ",
                           "attributes ",
                           "type ",
                           "values ",
                           "signatureValue ",
                           "signerInfos ",
                           "sid issuerAndSerialNumber ",
                           "digestAlgorithm ",
                           "signature "}) {
    const size_t found = text.find(name, at);
    ASSERT_NE(found, std::string::npos) << name << "\n" << text.substr(at);
    at = found;
  }
}

}  // namespace
}  // namespace qex::test
