// The contents read from a token: the signed TSTInfo, and its structure.
#include <gtest/gtest.h>

#include "tests/support/other_makers.h"
#include "tests/tool/strict/tokens.h"
#include "tool/base/bytes.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::SignatureResult;
using tool::Stop;

class StrictToken : public testing::Test {
 protected:
  Certificate root = MakeRoot();
  TokenPlan plan{MakeSigner(root)};
};

std::string stop_of(const Octets& token) {
  try {
    Read(token);
  } catch (const Stop& stop) {
    return stop.text;
  }
  return "";
}

TEST_F(StrictToken, FieldsAreThoseThatWereSigned) {
  plan.info.accuracy = der::sequence(der::integer(2), der::context_primitive(0, der::integer_content(500)),
                                     der::context_primitive(1, der::integer_content(7)));
  plan.info.ordering = der::boolean(true);
  plan.info.nonce = der::big_integer({0x00, 0xFF, 0x01});
  plan.info.serial = der::big_integer({0x80, 0x01});
  plan.info.gen_time = der::generalized_time("20241115080000.25Z");
  const auto info = Read(plan.encode()).info;
  EXPECT_EQ(info.version, 1);
  EXPECT_EQ(info.policy, der::oid_content("1.2.3.4.1"));
  EXPECT_EQ(info.imprint.algorithm, der::oid_content(kSha256));
  EXPECT_EQ(info.imprint.digest, Octets(32, 0x11));
  EXPECT_EQ(info.serial, (Octets{0x80, 0x01}));
  EXPECT_EQ(info.genTime, "20241115080000.25Z");
  ASSERT_TRUE(info.accuracy);
  EXPECT_EQ(info.accuracy->seconds, 2);
  EXPECT_EQ(info.accuracy->millis, 500);
  EXPECT_EQ(info.accuracy->micros, 7);
  EXPECT_TRUE(info.ordering);
  EXPECT_EQ(info.nonce, (Octets{0x00, 0xFF, 0x01}));
}

TEST_F(StrictToken, OptionalFieldsMayBeAbsent) {
  const auto info = Read(plan.encode()).info;
  EXPECT_FALSE(info.accuracy);
  EXPECT_FALSE(info.ordering);
  EXPECT_FALSE(info.nonce);
}

TEST_F(StrictToken, TimeIsKeptAsReceived) {
  for (const char* text : {"20241115080000Z", "20241115080000.5Z", "202411150800Z", "20241115080000+0100"}) {
    plan.info.gen_time = der::generalized_time(text);
    EXPECT_EQ(Read(plan.encode()).info.genTime, text);
  }
}

TEST_F(StrictToken, AnythingButATokenIsRefused) {
  const Octets token = plan.encode();
  EXPECT_NE(stop_of({}), "");
  EXPECT_NE(stop_of(der::sequence(der::oid(kData), der::context(0, der::octet_string({1})))), "");
  EXPECT_NE(stop_of(der::concat(token, Octets{0})), "");
  EXPECT_NE(stop_of(plan.signer.der()), "");
}

TEST_F(StrictToken, OctetsAfterTheTstInfoAreRefused) {
  plan.info.extensions = {};
  const Octets token = plan.encode();
  plan.info.extensions = der::context(1);  // an empty list of extensions is read
  EXPECT_EQ(stop_of(token), "");
  plan.info.extensions = der::utf8_string("more");
  EXPECT_NE(stop_of(plan.encode()).find("TSTInfo"), std::string::npos);
}

TEST_F(StrictToken, CriticalExtensionsOfTheTstInfoAreNamed) {
  const auto extension = [](const char* type, const Octets& critical) {
    return der::sequence(der::oid(type), critical, der::octet_string({5, 0}));
  };
  plan.info.extensions =
      der::context(1, extension("1.2.3.9", der::boolean(true)), extension("1.2.3.10", Octets{}));
  EXPECT_EQ(Read(plan.encode()).structure.unknownCritical, std::vector<Octets>{der::oid_content("1.2.3.9")});
}

TEST_F(StrictToken, SignersAreCounted) {
  plan.signers = 2;
  EXPECT_EQ(Read(plan.encode()).structure.signers, 2u);
  plan.signers = 0;
  const auto reading = Read(plan.encode());
  EXPECT_EQ(reading.structure.signers, 0u);
  EXPECT_EQ(reading.signature.result, SignatureResult::NoCertificate);
}

TEST_F(StrictToken, ContentTypesAreTheContentsOwnAndTheAttributes) {
  const auto reading = Read(plan.encode());
  EXPECT_EQ(reading.structure.contentType, der::oid_content(kTstInfo));
  EXPECT_EQ(reading.structure.contentTypeAttribute, der::oid_content(kTstInfo));
  EXPECT_TRUE(reading.structure.messageDigestPresent);
  plan.attributes = std::vector<Octets>{};
  EXPECT_FALSE(Read(plan.encode()).structure.contentTypeAttribute);
  EXPECT_FALSE(Read(plan.encode()).structure.messageDigestPresent);
}

TEST_F(StrictToken, RepeatedAttributesAreNamed) {
  EXPECT_TRUE(Read(plan.encode()).structure.repeatedAttributes.empty());
  plan.extra_attributes = {Attribute("1.2.3", {der::integer(1)}), Attribute("1.2.3", {der::integer(2)})};
  EXPECT_EQ(Read(plan.encode()).structure.repeatedAttributes, std::vector<Octets>{der::oid_content("1.2.3")});
}

TEST_F(StrictToken, OnlySingleValuedTypesMustHaveOneValue) {
  plan.extra_attributes = {Attribute("1.2.3", {der::integer(1), der::integer(2)})};
  EXPECT_TRUE(Read(plan.encode()).structure.repeatedAttributes.empty());
  const Octets time = der::utc_time("241115080000Z");
  for (const std::vector<Octets>& values : {std::vector<Octets>{time, time}, std::vector<Octets>{}}) {
    plan.extra_attributes = {Attribute(kSigningTimeAttribute, values)};
    EXPECT_EQ(Read(plan.encode()).structure.repeatedAttributes,
              std::vector<Octets>{der::oid_content(kSigningTimeAttribute)});
  }
}

TEST_F(StrictToken, TsaNameIsTheSubjectOrAnAlternativeName) {
  CertificatePlan named;
  named.issuer = &root;
  named.extensions = SignerExtensions();
  named.extensions.emplace_back("subjectAltName", "DNS:tsa.example,URI:https://tsa.example/");
  plan.signer = Make(named);
  const auto name = [](const std::string& text) {
    return der::context(4, DirectoryName({{"2.5.4.3", der::utf8_string(text)}}));
  };
  const struct {
    Octets tsa;
    bool fits;
  } cases[] = {
      {name("Example TSA"), true},
      {name("EXAMPLE  tsa"), true},  // names compare without case and runs of blanks (RFC 5280, 7.1)
      {name("Another TSA"), false},
      {der::context_primitive(2, der::octets("tsa.example")), true},
      {der::context_primitive(2, der::octets("tsb.example")), false},
      {der::context_primitive(6, der::octets("https://tsa.example/")), true},
  };
  for (const auto& one : cases) {
    plan.info.tsa = der::context(0, one.tsa);
    EXPECT_EQ(Read(plan.encode()).structure.tsaNameFits, one.fits);
  }
  plan.info.tsa = {};
  EXPECT_FALSE(Read(plan.encode()).structure.tsaNameFits);
}

TEST_F(StrictToken, RevocationValuesOfOtherKindsAreHarmless) {
  // RFC 5940: OCSP responses are in crls as [1] with an identifier.
  plan.lists = {der::context(1, der::oid("1.3.6.1.5.5.7.16.2"), der::sequence(der::integer(1)))};
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Valid);
}

// Other implementations' tokens, in DER and BER, verify with their fields.
TEST(StrictSamples, AllVerify) {
  for (const PeerSample& sample : AllTokens()) {
    SCOPED_TRACE(sample["Name"]);
    tool::Trust trust;
    trust.signers = {Item(sample.certificate())};
    const auto reading = Read(sample.octets(), trust);
    EXPECT_EQ(reading.signature.result, SignatureResult::Valid) << reading.signature.reason;
    EXPECT_TRUE(reading.signerIsPinned);
    EXPECT_EQ(sample.second_version() ? reading.essV2 : reading.essV1, tool::EssMatch::Names);
    EXPECT_EQ(sample.second_version() ? reading.essV1 : reading.essV2, tool::EssMatch::Absent);
    if (!sample.has("Imprint")) continue;
    EXPECT_EQ(reading.info.policy, der::oid_content(sample["Policy"]));
    EXPECT_EQ(tool::ToHex(reading.info.imprint.digest), sample["Imprint"]);
  }
}

// Tokens with parts for which the library has no type, whole and damaged.
TEST(StrictSamples, TokensThatTheLibraryCannotReadAreJudged) {
  size_t damaged = 0;
  for (const PeerSample& sample : PeerSamples("bouncycastle_strict", "token_", 41)) {
    SCOPED_TRACE(sample["Name"]);
    tool::Trust trust;
    trust.chainWanted = true;
    trust.roots = {Item(sample.file(sample["Root"]))};
    trust.untrusted = {Item(sample.file(sample["Certificate"]))};
    const auto reading = Read(sample.octets(), trust);
    if (sample.is("Verdict", "damaged")) {
      ++damaged;
      EXPECT_EQ(reading.signature.result, SignatureResult::Invalid);
      continue;
    }
    EXPECT_EQ(reading.signature.result, SignatureResult::Valid) << reading.signature.reason;
    EXPECT_EQ(reading.chain->result, tool::ChainResult::Trusted) << reading.chain->text;
    EXPECT_TRUE(reading.keyUsage->good) << reading.keyUsage->text;
    EXPECT_EQ(tool::ToHex(reading.info.imprint.digest), sample["Imprint"]);
  }
  EXPECT_GT(damaged, 0u);
}

}  // namespace
}  // namespace qex::test
