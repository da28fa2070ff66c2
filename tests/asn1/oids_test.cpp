// Object identifiers, and the table of the types that open-type fields hold. Both are compared with
// tables of their own in tests/data.
#include "asn1/oids.h"

#include <map>
#include <regex>

#include "asn1/timing_shapes.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/files.h"
#include "tests/support/fresh_process.h"

namespace qex::test {
namespace {

using namespace der;

#define QEX_IDENTIFIER(name) \
  { #name, name }
const std::map<std::string, AsnOid> kOthers = {
    QEX_IDENTIFIER(kIdDomainComponent),
    QEX_IDENTIFIER(kIdDhPublicNumber),
    QEX_IDENTIFIER(kIdPkcs1),
    QEX_IDENTIFIER(kIdEnvelopedData),
    QEX_IDENTIFIER(kIdDigestedData),
    QEX_IDENTIFIER(kIdEncryptedData),
    QEX_IDENTIFIER(kIdPkcs9),
    QEX_IDENTIFIER(kIdCountersignature),
    QEX_IDENTIFIER(kIdCtAuthData),
    QEX_IDENTIFIER(kIdCtTSTInfo),
    QEX_IDENTIFIER(kIdAlgEsdh),
    QEX_IDENTIFIER(kIdAlgCms3DesWrap),
    QEX_IDENTIFIER(kIdAlgCmsRc2Wrap),
    QEX_IDENTIFIER(kIdMd2),
    QEX_IDENTIFIER(kIdRc2Cbc),
    QEX_IDENTIFIER(kIdDesEde3Cbc),
    QEX_IDENTIFIER(kIdTimingArc),
    QEX_IDENTIFIER(kIdTimingArc_2),
    QEX_IDENTIFIER(kIdTimingArc_3),
    QEX_IDENTIFIER(kIdTimingArc_3_1),
    QEX_IDENTIFIER(kIdTimingArc_3_2),
    QEX_IDENTIFIER(kIdTimingArc_4),
    QEX_IDENTIFIER(kIdPkix),
    QEX_IDENTIFIER(kIdPe),
    QEX_IDENTIFIER(kIdPeAuthorityInfoAccess),
    QEX_IDENTIFIER(kIdPeAcAuditIdentity),
    QEX_IDENTIFIER(kIdPeAaControls),
    QEX_IDENTIFIER(kIdPeAcProxying),
    QEX_IDENTIFIER(kIdQt),
    QEX_IDENTIFIER(kIdQtCps),
    QEX_IDENTIFIER(kIdQtUnotice),
    QEX_IDENTIFIER(kIdKp),
    QEX_IDENTIFIER(kIdKpServerAuth),
    QEX_IDENTIFIER(kIdKpClientAuth),
    QEX_IDENTIFIER(kIdKpCodeSigning),
    QEX_IDENTIFIER(kIdKpEmailProtection),
    QEX_IDENTIFIER(kIdKpIpsecEndSystem),
    QEX_IDENTIFIER(kIdKpIpsecTunnel),
    QEX_IDENTIFIER(kIdKpIpsecUser),
    QEX_IDENTIFIER(kIdKpTimeStamping),
    QEX_IDENTIFIER(kIdPkip),
    QEX_IDENTIFIER(kIdRegCtrl),
    QEX_IDENTIFIER(kIdRegCtrlRegToken),
    QEX_IDENTIFIER(kIdRegCtrlAuthenticator),
    QEX_IDENTIFIER(kIdRegCtrlPkiPublicationInfo),
    QEX_IDENTIFIER(kIdRegCtrlPkiArchiveOptions),
    QEX_IDENTIFIER(kIdRegCtrlOldCertID),
    QEX_IDENTIFIER(kIdRegCtrlProtocolEncrKey),
    QEX_IDENTIFIER(kIdRegInfo),
    QEX_IDENTIFIER(kIdRegInfoUtf8Pairs),
    QEX_IDENTIFIER(kIdRegInfoCertReq),
    QEX_IDENTIFIER(kIdAca),
    QEX_IDENTIFIER(kIdAcaAuthenticationInfo),
    QEX_IDENTIFIER(kIdAcaAccessIdentity),
    QEX_IDENTIFIER(kIdAcaChargingIdentity),
    QEX_IDENTIFIER(kIdAcaGroup),
    QEX_IDENTIFIER(kIdAcaEncAttrs),
    QEX_IDENTIFIER(kIdHmacSha1),
    QEX_IDENTIFIER(kIdTeletrustArc),
    QEX_IDENTIFIER(kIdHoldInstruction),
    QEX_IDENTIFIER(kIdHoldInstruction1),
    QEX_IDENTIFIER(kIdHoldInstruction2),
    QEX_IDENTIFIER(kIdHoldInstruction3),
    QEX_IDENTIFIER(kIdAtClearance),
    QEX_IDENTIFIER(kIdAt),
    QEX_IDENTIFIER(kIdAtSurname),
    QEX_IDENTIFIER(kIdAtName),
    QEX_IDENTIFIER(kIdAtGivenName),
    QEX_IDENTIFIER(kIdAtInitials),
    QEX_IDENTIFIER(kIdAtGenerationQualifier),
    QEX_IDENTIFIER(kIdAtEnhancedSearchGuide),
    QEX_IDENTIFIER(kIdAt52_2),
    QEX_IDENTIFIER(kIdAt53_2),
    QEX_IDENTIFIER(kIdAt55_2),
    QEX_IDENTIFIER(kIdAt56_2),
    QEX_IDENTIFIER(kIdAt57_2),
    QEX_IDENTIFIER(kIdAt58_2),
    QEX_IDENTIFIER(kIdAt59_2),
    QEX_IDENTIFIER(kIdAt60_2),
    QEX_IDENTIFIER(kIdAtRole),
    QEX_IDENTIFIER(kIdCe),
    QEX_IDENTIFIER(kIdCeSubjectDirectoryAttributes),
    QEX_IDENTIFIER(kIdCeSubjectKeyIdentifier),
    QEX_IDENTIFIER(kIdCeKeyUsage),
    QEX_IDENTIFIER(kIdCePrivateKeyUsagePeriod),
    QEX_IDENTIFIER(kIdCeSubjectAltName),
    QEX_IDENTIFIER(kIdCeIssuerAltName),
    QEX_IDENTIFIER(kIdCeBasicConstraints),
    QEX_IDENTIFIER(kIdCeCRLNumber),
    QEX_IDENTIFIER(kIdCeCRLReasons),
    QEX_IDENTIFIER(kIdCeHoldInstructionCode),
    QEX_IDENTIFIER(kIdCeInvalidityDate),
    QEX_IDENTIFIER(kIdCeDeltaCRLIndicator),
    QEX_IDENTIFIER(kIdCeIssuingDistributionPoint),
    QEX_IDENTIFIER(kIdCeCertificateIssuer),
    QEX_IDENTIFIER(kIdCeNameConstraints),
    QEX_IDENTIFIER(kIdCeCRLDistributionPoints),
    QEX_IDENTIFIER(kIdCeCertificatePolicies),
    QEX_IDENTIFIER(kIdCePolicyMappings),
    QEX_IDENTIFIER(kIdCeAuthorityKeyIdentifier),
    QEX_IDENTIFIER(kIdCePolicyConstraints),
    QEX_IDENTIFIER(kIdCeExtKeyUsage),
    QEX_IDENTIFIER(kIdCeTargetInformation),
};
#undef QEX_IDENTIFIER

AsnAny look_up(const Octets& identifier) {
  static const bool registered = RegisterOpenTypes();
  EXPECT_TRUE(registered);
  AsnAny any{};
  SetAnyTypeByOid(&any, {uint32_t(identifier.size()), identifier.data()});
  return any;
}

// The marks of a registered type: a value of it, and its text for refusing another tag.
struct Value {
  Octets sample;
  Outcome refusal;  // code 0: any code of the types' range
};

std::map<std::string, Value> values() {
  const Octets one = sequence(integer(1), integer(0));
  const auto named = [](const char* decoder, const Octets& sample) {
    return std::pair<const std::string, Value>{
        decoder, {sample, {0, std::string("BDec") + decoder + ": ERROR - wrong tag\n"}}};
  };
  const Outcome choice = {0, "ERROR - unexpected tag in CHOICE\n"};
  return {
      {"NULL", {null(), {-40, "BDecAsnNull: ERROR wrong tag on NULL.\n"}}},
      {"OCTET-STRING", {octet_string(hex("61")), {-40, "BDecAsnOcts: ERROR - wrong tag on OCTET STRING.\n"}}},
      {"OBJECT-IDENTIFIER", {oid("1.2.3"), {-40, "BDecAsnOid: ERROR - wrong tag on OBJECT IDENTIFIER.\n"}}},
      {"BIT-STRING", {bit_string(hex("80")), {-40, "BDecAsnBits: ERROR - wrong tag on BIT STRING.\n"}}},
      named("ContentInfo", sequence(oid(sample::kData))),
      named("PrintableString1", printable_string("x")),
      named("X520TelexNumber", sequence(printable_string("1"), printable_string("2"), printable_string("3"))),
      named("X520FacsimileTelephoneNumber", sequence(printable_string("1"))),
      named("X520InternationalISDNNumber", element(0x12, octets("1"))),
      named("X520PreferredDeliveryMethod", sequence(integer(1))),
      named("X520PresentationAddress", sequence(context(3, set()))),
      named("X520ProtocolInformation", sequence(octet_string({}), set())),
      named("Pkcs9email", ia5_string("a@b")),
      named("Dss_Parms_BI", sequence(integer(1), integer(2), integer(3))),
      named("X121Address", element(0x12, octets("1"))),
      {"DirectoryString", {utf8_string("x"), choice}},
      named("X520PostalAddress", sequence(utf8_string("x"))),
      named("DistinguishedName", sample::name("x")),
      named("TimingMetrics", sequence(one, one, one, one)),
      named("X520UniqueMember", sequence(sample::name("x"))),
      named("SignedData", sample::signed_data()),
      named("TimingPolicyObj", set(sequence())),
      named("TimingMeticsObj", set(sequence(one, one, one, one))),
      named("ExtensionRequest0", sequence(sample::extension_list())),
      named("AttrMsgDigest", octet_string(hex("61"))),
      named("AttrContentType", oid("1.2.3")),
      named("SigningCertV2AttrParams", sequence(sequence(sequence(octet_string({}))))),
      named("SigningCertAttrParams", sequence(sequence(sequence(octet_string({}))))),
      named("SignerAttributeAttrParams", sequence()),
      {"SignaturePolicyIdentifierAttrParams", {null(), choice}},
      {"AttrSigningTime", {utc_time("260101000000Z"), choice}},
  };
}

TEST(OpenTypeTable, EveryRowResolvesToItsType) {
  const auto types = values();
  const auto rows = LinesOf("open_types.txt");
  ASSERT_EQ(rows.size(), kOpenTypeRows);
  ASSERT_EQ(OpenTypeTable().size(), kOpenTypeRows);
  for (const auto& row : rows) {
    SCOPED_TRACE(row[0] + ' ' + row[1]);
    const size_t number = size_t(std::stoul(row[0]));
    EXPECT_EQ(ToHex(OpenTypeTable()[number].identifier), row[2]);
    if (number == 37) continue;
    AsnAny any = look_up(hex(row[2]));
    ASSERT_NE(any.ai, nullptr);
    EXPECT_EQ(any.ai->anyId, int32_t(number));
    EXPECT_EQ(ToHex(any.ai->oid), row[2]);

    ASSERT_TRUE(types.contains(row[3])) << "values() has no " << row[3];
    const Value& type = types.at(row[3]);
    Input input(type.sample);
    AsnLen bytes = 0;
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(input.handle(), &any, &bytes, env); }), kDecoded);
    EXPECT_EQ(bytes, type.sample.size());
    EXPECT_EQ(Encoded([&](ExpBuf** b) { return BEncAny(b, &any); }), type.sample);
    EXPECT_NE(Printed([&](FILE* f) { PrintAny(f, &any, 0); }), " -- ERROR: malformed ANY value --");
    FreeAny(&any);

    AsnAny wrong = look_up(hex(row[2]));
    Input foreign(hex("1d00"));
    const Outcome refused =
        OutcomeOf([&](AsnJmpEnv& env) { BDecAny(foreign.handle(), &wrong, &bytes, env); });
    FreeAny(&wrong);
    EXPECT_EQ(refused.text, type.refusal.text);
    if (type.refusal.code != 0) {
      EXPECT_EQ(refused.code, type.refusal.code);
    } else {
      EXPECT_LE(refused.code, -100);
    }
  }
}

// The octets of the samples above, by the content of the string, the number or the alternative in them.
TEST(OpenTypeTable, ValuesOfStringsAndIdentifiersHaveOctets) {
  const std::map<std::string, const char*> octets = {
      {"OCTET-STRING", "61"},
      {"OBJECT-IDENTIFIER", "2a03"},
      {"BIT-STRING", "80"},
      {"PrintableString1", "78"},
      {"X520FacsimileTelephoneNumber", "31"},
      {"X520InternationalISDNNumber", "31"},
      {"Pkcs9email", "614062"},
      {"X121Address", "31"},
      {"DirectoryString", "78"},
      {"AttrMsgDigest", "61"},
      {"AttrContentType", "2a03"},
  };
  const auto types = values();
  for (const auto& row : LinesOf("open_types.txt")) {
    if (row[0] == "37") continue;
    SCOPED_TRACE(row[0] + ' ' + row[1]);
    AsnAny any = look_up(hex(row[2]));
    EXPECT_EQ(OpenValueOctets(any).data(), nullptr);  // no value yet
    Input input(types.at(row[3]).sample);
    AsnLen bytes = 0;
    ASSERT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(input.handle(), &any, &bytes, env); }), kDecoded);
    const OctetsView found = OpenValueOctets(any);
    const auto expected = octets.find(row[3]);
    EXPECT_EQ(found.data() != nullptr, expected != octets.end());
    EXPECT_EQ(ToHex(Octets(found.begin(), found.end())), expected == octets.end() ? "" : expected->second);
    FreeAny(&any);
  }
}

TEST(OpenTypeTable, AValueThatIsNotOfARowHasNoOctets) {
  AsnOcts text{};
  for (const int32_t row : {-1, int32_t{kOpenTypeRows}, kAnyTimingMetricsInPlace}) {
    AnyInfo info{};
    info.anyId = row;
    EXPECT_EQ(OpenValueOctets({&info, &text}).data(), nullptr);
  }
  EXPECT_EQ(OpenValueOctets({nullptr, &text}).data(), nullptr);
}

// The row that repeats the identifier of the one before has no effect, and so a domainComponent
// has no type: its own identifier is not registered at all.
TEST(OpenTypeTable, DomainComponentResolvesToNoType) {
  const auto rows = LinesOf("open_types.txt");
  EXPECT_EQ(rows[37][2], rows[36][2]);
  EXPECT_EQ(look_up(hex(rows[37][2])).ai->anyId, 36);
  EXPECT_EQ(look_up(oid_content("0.9.2342.19200300.100.1.25")).ai, nullptr);
}

TEST(OpenTypeTable, NothingElseIsRegistered) {
  for (const auto& line : LinesOf("identifiers.txt")) EXPECT_EQ(look_up(hex(line[1])).ai, nullptr) << line[0];
  for (const char* id :
       {"1.2.3", "2.5.4.1", "1.2.840.113549.1.1.10", "1.2.840.10045.2.1", "1.3.6.1.4.1.601.10.4.3"}) {
    EXPECT_EQ(look_up(oid_content(id)).ai, nullptr) << id;
  }
  EXPECT_EQ(look_up({}).ai, nullptr);
  AsnAny any{};
  for (const int32_t n : {0, 1, 22, -1}) {
    SetAnyTypeByInt(&any, n);
    EXPECT_EQ(any.ai, nullptr);
  }
}

// A second run of the registration changes nothing: the first row of an identifier holds.
TEST(OpenTypeTable, MayBeRegisteredAgain) {
  const AnyInfo* before = look_up(oid_content("2.5.4.3")).ai;
  EXPECT_TRUE(RegisterOpenTypes());
  EXPECT_EQ(look_up(oid_content("2.5.4.3")).ai, before);
}

TEST(Identifiers, ConstantsHaveThePublishedOctets) {
  const auto lines = LinesOf("identifiers.txt");
  EXPECT_EQ(lines.size(), kOthers.size());
  for (const auto& line : lines) {
    const auto found = kOthers.find(line[2]);
    ASSERT_NE(found, kOthers.end()) << line[2];
    EXPECT_EQ(ToHex(found->second), line[1]) << line[2];
    EXPECT_EQ(ToHex(oid_content(line[0])), line[1]);
  }
}

// The arcs of every identifier that asn1/oids.h lists after those of the table, in its order.
std::vector<std::vector<unsigned long>> arcs_in_header() {
  const std::vector<uint8_t> octets = ReadFile(QEX_SOURCE_DIR "/asn1/oids.h");
  std::string text(octets.begin(), octets.end());
  text.erase(0, text.find("// Other identifiers, by arc."));
  std::vector<std::vector<unsigned long>> all;
  const std::regex literal("\"([0-9.]+)\"_oid"), number("[0-9]+");
  for (std::sregex_iterator at(text.begin(), text.end(), literal), end; at != end; ++at) {
    const std::string dotted = (*at)[1];
    std::vector<unsigned long> arcs;
    for (std::sregex_iterator arc(dotted.begin(), dotted.end(), number); arc != end; ++arc) {
      arcs.push_back(std::stoul(arc->str()));
    }
    all.push_back(std::move(arcs));
  }
  return all;
}

TEST(Identifiers, OthersAreSortedByArcInTheirHeader) {
  const auto arcs = arcs_in_header();
  ASSERT_EQ(arcs.size(), kOthers.size());
  for (size_t i = 1; i < arcs.size(); ++i) {
    EXPECT_LT(arcs[i - 1], arcs[i]) << testing::PrintToString(arcs[i]) << " is out of its place";
  }
}

// They begin with 52, so they never equal the published 1.2.840.10040.2.
TEST(Identifiers, HoldInstructionsAreStoredUnderAnotherArc) {
  const AsnOid stored[] = {kIdHoldInstruction, kIdHoldInstruction1, kIdHoldInstruction2, kIdHoldInstruction3};
  const char* octets[] = {"5286 48ce3802", "5286 48ce380201", "5286 48ce380202", "5286 48ce380203"};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(ToHex(stored[i]), ToHex(hex(octets[i])));
  const Octets published = oid_content("1.2.840.10040.2");
  EXPECT_FALSE(AsnOidEqual(kIdHoldInstruction, {uint32_t(published.size()), published.data()}));
}

TEST(Identifiers, LiteralsAreEncodedByTheStandard) {
  constexpr AsnOid edges[] = {"0.0"_oid,
                              "0.39"_oid,
                              "1.0"_oid,
                              "2.999.3"_oid,
                              "2.5.4.127"_oid,
                              "2.5.4.128"_oid,
                              "1.2.16383.16384"_oid,
                              "1.2.4294967295"_oid};
  const char* octets[] = {"00", "27", "28", "883703", "55047f", "55048100", "2aff7f818000", "2a8fffffff7f"};
  for (size_t i = 0; i < std::size(edges); ++i) EXPECT_EQ(ToHex(edges[i]), octets[i]);
}

TEST(OpenTypeTable, IsNotRegisteredWhereAnAllocationFails) {
  InFreshProcess(nullptr, [] {
    bool registered = false;
    for (size_t allowed = 0; !registered; ++allowed) {
      size_t refused = 0;
      {
        const FailingAlloc failing(allowed);
        registered = RegisterOpenTypes();
        refused = failing.refused();
      }
      ASSERT_EQ(registered, refused == 0) << allowed;
      FreeAnyTables();
    }
  });
}

}  // namespace
}  // namespace qex::test
