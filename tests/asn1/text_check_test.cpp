// The comparison of ASN.1 texts with descriptors finds each kind of error, in texts made up for it.
#include <gtest/gtest.h>

#include <algorithm>

#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/names.h"
#include "asn1/timestamp.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "tests/support/asn1_text_check.h"

namespace qex::test {
namespace {

const std::string kSample = R"(// Samples, IMPLICIT TAGS.
#pragma once

// The identifier of an algorithm.
//
// AlgorithmIdentifier ::= SEQUENCE {  (RFC 5280, 4.1.1.2)
//   algorithm   OBJECT IDENTIFIER,
//   parameters  ANY DEFINED BY algorithm OPTIONAL }
struct AlgorithmIdentifier {};

// Algorithms ::= SET OF Algorithm  (RFC 5652, 5.1)
//   -- here: named AlgorithmIdentifiers, of AlgorithmIdentifier
inline constexpr SetOf kAlgorithmIdentifiers = {};

// Extension ::= SEQUENCE {  (RFC 5280, 4.1)
//   extnID     OBJECT IDENTIFIER,
//   critical   BOOLEAN DEFAULT FALSE,
//   extnValue  OCTET STRING }
struct Extension {};

// Extensions ::= SEQUENCE OF Extension  (RFC 5280, 4.1)
inline constexpr SequenceOf kExtensions = {};

// MessageImprint ::= SEQUENCE {  (RFC 3161, 2.4.1)
//   hashAlgorithm  AlgorithmIdentifier,
//   hashedMessage  OCTET STRING }
struct MessageImprint {};

// TimeStampReq ::= SEQUENCE {  (RFC 3161, 2.4.1)
//   version             INTEGER { v1(1) },
//   messageImprint      MessageImprint,
//   reqPolicy           TSAPolicyId OPTIONAL,
//   nonce               INTEGER OPTIONAL,
//   certReq             BOOLEAN DEFAULT FALSE,
//   extensions      [0] Extensions OPTIONAL }
// TSAPolicyId ::= OBJECT IDENTIFIER  (RFC 3161, 2.4.1)
struct TimeStampReq {};

// PersonalName ::= SET {  (RFC 5280, A.1)
//   surname               [0] IMPLICIT PrintableString,
//   given-name            [1] IMPLICIT PrintableString OPTIONAL,
//   initials              [2] IMPLICIT PrintableString OPTIONAL,
//   generation-qualifier  [3] IMPLICIT PrintableString OPTIONAL }
struct PersonalName {};

// DirectoryString ::= CHOICE {  (RFC 5280, 4.1.2.4)
//   teletexString    TeletexString,
//   printableString  PrintableString,
//   universalString  UniversalString,
//   utf8String       UTF8String,
//   bmpString        BMPString }
struct DirectoryString {};

// EDIPartyName ::= SEQUENCE {  (RFC 5280, 4.2.1.6)
//   nameAssigner  [0] CHOICE {
//     printableString  PrintableString,
//     bmpString        BMPString } OPTIONAL,  -- here: widened to DirectoryString
//   partyName     [1] PrintableString }  -- here: widened to DirectoryString
struct EDIPartyName {};

// PolicyQualifierInfo ::= SEQUENCE {  (RFC 5280, 4.2.1.4)
//   policyQualifierId  PolicyQualifierId,
//   qualifier          ANY -- DEFINED BY PolicyQualifierId }
// PolicyQualifierId ::= OBJECT IDENTIFIER  (RFC 5280, 4.2.1.4)
struct PolicyQualifierInfo {};

// PolicyQualifiers ::= SEQUENCE OF PolicyQualifierInfo  (in PolicyInformation)
inline constexpr SequenceOf kPolicyQualifiers = {};

// PolicyInformation ::= SEQUENCE {  (RFC 5280, 4.2.1.4)
//   policyId          OBJECT IDENTIFIER,  -- here: named policyIdentifier
//   policyQualifiers  SEQUENCE OF PolicyQualifierInfo OPTIONAL }
struct PolicyInformation {};

// Content ::= SEQUENCE {  (RFC 5652, 3)  -- here: named ContentInfo
//   contentType      OBJECT IDENTIFIER,
//   content      [0] EXPLICIT ANY DEFINED BY contentType }  -- here: OPTIONAL
struct ContentInfo {};

// TimeStampResp ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   status          PKIStatusInfo,
//   timeStampToken  TimeStampToken OPTIONAL }
// TimeStampToken ::= Content  (RFC 3161, 2.4.2)
struct TimeStampResp {};

// PKIStatusInfo ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   status        INTEGER,
//   statusString  PKIFreeText OPTIONAL,
//   failInfo      BIT STRING OPTIONAL }
struct PKIStatusInfo {};

// PKIFreeText ::= SEQUENCE OF UTF8String  (RFC 4210, 5.1.1)
inline constexpr SequenceOf kPKIFreeText = {};

// EncapsulatedContentInfo ::= SEQUENCE {  (RFC 5652, 5.2; EXPLICIT TAGS)
//   eContentType      OBJECT IDENTIFIER,
//   eContent      [0] OCTET STRING OPTIONAL }
struct EncapsulatedContentInfo {};

// CountryName ::= [APPLICATION 1] CHOICE {  (RFC 5280, A.1)
//   x121-dcc-code         NumericString,
//   iso-3166-alpha2-code  PrintableString }
struct CountryName {};
)";

#define NAMED(x) \
  { #x, &k##x }
const std::vector<NamedType> kSampleTypes = {
    NAMED(AlgorithmIdentifier), NAMED(AlgorithmIdentifiers), NAMED(Extension),
    NAMED(Extensions),          NAMED(MessageImprint),       NAMED(TimeStampReq),
    NAMED(PersonalName),        NAMED(DirectoryString),      NAMED(EDIPartyName),
    NAMED(PolicyQualifierInfo), NAMED(PolicyQualifiers),     NAMED(PolicyInformation),
    NAMED(ContentInfo),         NAMED(TimeStampResp),        NAMED(PKIStatusInfo),
    NAMED(PKIFreeText),         NAMED(CountryName),          NAMED(EncapsulatedContentInfo),
};

std::vector<std::string> compare(const std::string& text) {
  return CompareTexts({{"sample.h", text}}, kSampleTypes);
}

TEST(Asn1TextCheck, TextsThatAgreePass) {
  EXPECT_EQ(AsText(compare(kSample)), "");
}

struct Damage {
  const char* from;
  const char* to;
  const char* complaint;
};

// Each damage is of one place of the sample, and is named.
void expect_found(const std::vector<Damage>& damages) {
  for (const Damage& d : damages) {
    SCOPED_TRACE(std::string(d.from) + " -> " + d.to);
    const size_t at = kSample.find(d.from);
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(kSample.find(d.from, at + 1), std::string::npos) << "stands twice";
    std::string damaged = kSample;
    damaged.replace(at, std::string(d.from).size(), d.to);
    EXPECT_NE(AsText(compare(damaged)).find(d.complaint), std::string::npos) << AsText(compare(damaged));
  }
}

TEST(Asn1TextCheck, FieldsAreCompared) {
  expect_found({
      {"nonce    ", "nounce   ", "nounce: the table's field is nonce"},
      {"given-name ", "givenName  ", "the table's field is given-name"},
      {"algorithm   OBJECT IDENTIFIER,\n//   parameters  ANY DEFINED BY algorithm OPTIONAL",
       "parameters  ANY DEFINED BY algorithm OPTIONAL,\n//   algorithm   OBJECT IDENTIFIER",
       "parameters: the table's field is algorithm"},
      {"teletexString    TeletexString,\n//   printableString  PrintableString",
       "printableString  PrintableString,\n//   teletexString    TeletexString",
       "printableString: the table's field is teletexString"},
      {"//   nonce               INTEGER OPTIONAL,\n", "", "TimeStampReq: 5 fields, in the table 6"},
      {"UTF8String,\n//   bmpString        BMPString", "UTF8String",
       "DirectoryString: 4 fields, in the table 5"},
      {"hashedMessage  OCTET STRING", "hashedMessage  OCTET STRING,\n//   more NULL",
       "3 fields, in the table 2"},
      {"TSAPolicyId OPTIONAL", "TSAPolicyId", "reqPolicy: mandatory in the text, OPTIONAL in the table"},
      {"hashedMessage  OCTET STRING", "hashedMessage  OCTET STRING OPTIONAL",
       "OPTIONAL in the text, mandatory in the table"},
      {"critical   BOOLEAN DEFAULT FALSE", "critical   BOOLEAN OPTIONAL",
       "OPTIONAL in the text, DEFAULT in the table"},
      {"nonce               INTEGER OPTIONAL", "nonce               INTEGER { v(1) } DEFAULT v",
       "DEFAULT in the text, OPTIONAL in the table"},
      {"critical   BOOLEAN DEFAULT FALSE", "critical   BOOLEAN DEFAULT v1", "a DEFAULT that is no value"},
  });
}

TEST(Asn1TextCheck, TypesAreCompared) {
  expect_found({
      {"extnValue  OCTET STRING", "extnValue  BIT STRING", "the text has BIT STRING, the table OCTET STRING"},
      {"TSAPolicyId ::= OBJECT IDENTIFIER", "TSAPolicyId ::= INTEGER",
       "the text has INTEGER, the table OBJECT"},
      {"[2] IMPLICIT PrintableString", "[2] IMPLICIT UTF8String",
       "the text has UTF8String, the table Printable"},
      {"SEQUENCE OF Extension ", "SET OF Extension ", "the text has SET OF, the table Extensions"},
      {"SEQUENCE OF Extension ", "SEQUENCE OF MessageImprint ",
       "elements: the text has MessageImprint, the table Ext"},
      {"SEQUENCE OF UTF8String", "SEQUENCE OF PrintableString",
       "elements: the text has PrintableString, the table U"},
      {"SEQUENCE OF PolicyQualifierInfo OPTIONAL", "SEQUENCE OF Extension OPTIONAL",
       "the text has Extension, the table"},
      {"messageImprint      MessageImprint", "messageImprint      Extension",
       "the text has Extension, the table Mess"},
      {"PersonalName ::= SET", "PersonalName ::= SEQUENCE", "another kind of record"},
      {"MessageImprint ::= SEQUENCE", "MessageImprint ::= CHOICE", "another kind of record"},
      {"ANY DEFINED BY algorithm OPTIONAL", "NULL OPTIONAL", "the text has NULL, the table ANY"},
      {"ANY DEFINED BY algorithm OPTIONAL", "ANY DEFINED BY something OPTIONAL",
       "which is not one of the fields"},
      {"ANY DEFINED BY algorithm OPTIONAL", "ANY DEFINED BY parameters OPTIONAL",
       "another field than parameters"},
      {"ANY -- DEFINED BY PolicyQualifierId", "ANY -- DEFINED BY PolicyId", "which is not one of the fields"},
      {"messageImprint      MessageImprint", "messageImprint      Imprint", "Imprint has no text"},
      {"PKIFreeText OPTIONAL", "SEQUENCE OF UTF8String OPTIONAL",
       "the table has the type PKIFreeText by its name"},
  });
}

TEST(Asn1TextCheck, TagsAreCompared) {
  expect_found({
      {"[0] Extensions", "[2] Extensions", "tag 0xA2000000, in the table 0xA0000000"},
      {"[0] Extensions", "Extensions", "tagging none, in the table IMPLICIT"},
      {"[0] Extensions", "[0] EXPLICIT Extensions", "tagging EXPLICIT, in the table IMPLICIT"},
      {"[0] EXPLICIT ANY", "[1] EXPLICIT ANY", "tag 0xA1000000, in the table 0xA0000000"},
      {"[0] EXPLICIT ANY", "[0] IMPLICIT ANY", "IMPLICIT over a type without a tag"},
      {"; EXPLICIT TAGS", "", "tagging IMPLICIT, in the table EXPLICIT"},
      {"; EXPLICIT TAGS", "; IMPLICIT TAGS", "tagging IMPLICIT, in the table EXPLICIT"},
      {"[0] OCTET STRING", "[0] IMPLICIT OCTET STRING", "tag 0x80000000, in the table 0xA0000000"},
      {"[1] IMPLICIT PrintableString", "[APPLICATION 1] IMPLICIT PrintableString",
       "tag 0x41000000, in the table 0x81"},
      {"nonce               INTEGER", "nonce           [1] INTEGER", "tagging IMPLICIT, in the table none"},
      {"// Samples, IMPLICIT TAGS", "// Samples, EXPLICIT TAGS", "tagging EXPLICIT, in the table IMPLICIT"},
      {"Extension ::= SEQUENCE", "Extension ::= [1] SEQUENCE", "a tag that is not of a CHOICE"},
      {"TSAPolicyId ::= OBJECT", "TSAPolicyId ::= [1] OBJECT", "TSAPolicyId is no type"},
  });
}

TEST(Asn1TextCheck, MarksAreNeededAndTrue) {
  expect_found({
      {"  -- here: OPTIONAL", "", "content: mandatory in the text, OPTIONAL in the table"},
      {"TSAPolicyId OPTIONAL,", "TSAPolicyId OPTIONAL,  -- here: OPTIONAL", "\"OPTIONAL\" is not needed"},
      {"messageImprint      MessageImprint,", "messageImprint      MessageImprint,  -- here: OPTIONAL",
       "OPTIONAL in the text, mandatory in the table"},
      {"  -- here: named policyIdentifier", "", "the table's field is policyIdentifier"},
      {"named policyIdentifier", "named policyID", "the table's field is policyIdentifier"},
      {"reqPolicy           TSAPolicyId OPTIONAL,",
       "reqPolicy           TSAPolicyId OPTIONAL,  -- here: named reqPolicy", "\"named\" is not needed"},
      {"  -- here: named ContentInfo", "", "a text without a type: Content"},
      {"named ContentInfo", "named ContentInfos", "marked as ContentInfos, which is no type"},
      {"(RFC 5652, 3)  -- here: named ContentInfo", "(RFC 5652, 3)  -- here: named Content",
       "which is no type"},
      {"4.1)\n//   extnID", "4.1)  -- here: named Extension\n//   extnID",
       "the mark \"named\" is not needed"},
      {" }  -- here: widened to DirectoryString", " }",
       "the text has PrintableString, the table DirectoryString"},
      {" }  -- here: widened to DirectoryString", " }  -- here: widened to CountryName",
       "not the CHOICE CountryName"},
      {"[1] PrintableString }", "[1] IA5String }", "DirectoryString does not take the type of the text"},
      {"[1] PrintableString }", "[1] DirectoryString }", "the mark \"widened to\" is not needed"},
      {"//     bmpString  ", "//     bmp        ", "DirectoryString does not take the type of the text"},
      {"//     bmpString        B", "//     bmpString    [1] B",
       "DirectoryString does not take the type of the text"},
      {"status          PKIStatusInfo,", "status          PKIStatusInfo,  -- here: widened to PKIStatusInfo",
       "not the CHOICE PKIStatusInfo"},
      {", of AlgorithmIdentifier", "", "Algorithm has no text"},
      {", of AlgorithmIdentifier", ", of Extension", "the elements are not Extension"},
      {"SET OF Algorithm ", "SET OF AlgorithmIdentifier ", "the mark \"of\" is not needed"},
      {"SET OF Algorithm ", "SEQUENCE OF Algorithm ", "SET OF and SEQUENCE OF differ"},
      {"5.1.1)", "5.1.1)  -- here: more shapes", "\"more shapes\" is not needed"},
      {"UTF8String  (RFC 4210, 5.1.1)", "UTF8String  (in PKIStatusInfo)",
       "is not written inline in PKIStatusInfo"},
      {"(in PolicyInformation)", "(RFC 5280, 4.2.1.4)",
       "the table has the type PolicyQualifiers by its name"},
      {"(RFC 3161, 2.4.2)\n//   status          ", "(RFC 3161, 2.4.2; EXPLICIT TAGS)\n//   status          ",
       "says a default tagging without need"},
      {"(RFC 3161, 2.4.1)\nstruct", "(RFC 3161, 2.4.1)  -- here: OPTIONAL\nstruct", "TSAPolicyId is no type"},
      {"4.1)\n//   extnID", "4.1)  -- here: OPTIONAL\n//   extnID", "a mark that only a field can have"},
      {"OCTET STRING }\nstruct Extension", "OCTET STRING }  -- here: more shapes\nstruct Extension",
       "a mark that only a definition can have"},
  });
}

TEST(Asn1TextCheck, EveryTypeHasOneTextInItsPlace) {
  expect_found({
      {"// PKIFreeText ::= SEQUENCE OF UTF8String  (RFC 4210, 5.1.1)\n", "",
       "a type without a text: PKIFreeText"},
      {"struct CountryName {};\n",
       "struct CountryName {};\n// Alien ::= SEQUENCE {  (RFC 1, 1)\n//   a NULL }\n",
       "a text without a type: Alien"},
      {"struct CountryName {};\n", "struct CountryName {};\n// Alien ::= NULL  (RFC 1, 1)\n",
       "no text uses the name Alien"},
      {"// TSAPolicyId ::=", "// Unused ::= NULL  (RFC 1, 1)\n// TSAPolicyId ::=",
       "no text uses the name Unused"},
      {"// TSAPolicyId ::=", "// TSAPolicyId ::= NULL  (RFC 1, 1)\n// TSAPolicyId ::=",
       "a second text of TSAPolicyId"},
      {"struct MessageImprint", "struct Imprint", "is not directly above the declaration of MessageImprint"},
      {"struct MessageImprint", "\nstruct MessageImprint", "is not directly above the declaration"},
      {"struct MessageImprint {};\n\n", "//\n", "has the texts of 2 types"},
  });
}

TEST(Asn1TextCheck, NothingIsPassedOver) {
  expect_found({
      {"INTEGER { v1(1) }", "INTEGER (0..MAX)", "expected } at \"(0..MAX)"},
      {"SEQUENCE OF UTF8String", "SEQUENCE SIZE (1..MAX) OF UTF8String", "expected {"},
      {"nonce               INTEGER OPTIONAL,", "nonce               INTEGER OPTIONAL,  -- of 8 octets",
       "unknown comment"},
      {"nonce               INTEGER OPTIONAL,", "nonce               INTEGER OPTIONAL,  -- here: big",
       "unknown mark"},
      {"nonce               INTEGER", "nonce               REALLY.INTEGER", "expected } at \".INTEGER"},
      {"nonce               INTEGER", "nonce               integer", "unknown type integer"},
      {"BIT STRING OPTIONAL }", "BIT STRING OPTIONAL,\n//   ... }", "expected a name at \"... }"},
      {"BIT STRING OPTIONAL }", "BIT STRING OPTIONAL }\n//   more NULL }", "expected the name of a type"},
      {"BIT STRING OPTIONAL }", "BIT STRING OPTIONAL }\n// Prose.", "expected ::="},
      {"// The identifier of an algorithm.\n//\n", "// The identifier of an algorithm.\n", "expected ::="},
      {"(RFC 4210, 5.1.1)", "", "expected ("},
      {"(RFC 4210, 5.1.1)", "(by hearsay)", "unknown source (by hearsay"},
      {"[0] EXPLICIT ANY DEFINED BY contentType", "[0] EXPLICIT ANY", "expected DEFINED BY"},
      {"[0] EXPLICIT ANY", "[31] EXPLICIT ANY", "more than one octet"},
      {"INTEGER { v1(1) }", "ENUMERATED", "expected the values"},
      {"INTEGER { v1(1) }", "INTEGER { v1(1), v2(1) }", "a value given twice"},
      {"struct CountryName {};", "struct CountryName {};  // ::= CHOICE", "a text outside of a comment"},
      {"IMPLICIT TAGS", "TAGS", "does not say the default tagging"},
      {"IMPLICIT TAGS", "IMPLICIT TAGS or EXPLICIT TAGS", "says the default tagging twice"},
      {"TimeStampToken ::= Content ", "TimeStampToken ::= TimeStampToken ", "the names lead in a circle"},
  });
}

}  // namespace
}  // namespace qex::test
