// The signer, and facts from its certificate.
#include <gtest/gtest.h>

#include "tests/tool/strict/tokens.h"
#include "tool/base/failure.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::EssMatch;
using tool::SignatureResult;
using tool::ValidityResult;

class StrictSigner : public testing::Test {
 protected:
  Certificate root = MakeRoot();
  Certificate signer = MakeSigner(root);
  TokenPlan plan{signer};
};

Octets issuer_serial(const Octets& issuer, int64_t serial) {
  return der::sequence(der::sequence(der::context(4, issuer)), der::integer(serial));
}

Octets root_name(const char* name = "Example Root") {
  return DirectoryName({{"2.5.4.3", der::utf8_string(name)}});
}

TEST_F(StrictSigner, TheAttributeMustNameTheCertificate) {
  const Octets sha1 = Hash("SHA1", signer.der());
  const Octets sha256 = Hash("SHA256", signer.der());
  const Octets sha512 = Hash("SHA512", signer.der());
  const auto v1 = [](const Octets& hash, const Octets& more = {}) {
    return Attribute(kSigningCertificateAttribute,
                     {SigningCertificate({der::sequence(der::octet_string(hash), more)})});
  };
  const auto v2 = [](const Octets& algorithm, const Octets& hash, const Octets& more = {}) {
    return Attribute(kSigningCertificateV2Attribute,
                     {SigningCertificate({der::sequence(algorithm, der::octet_string(hash), more)})});
  };
  const Octets none;
  const struct {
    const char* name;
    Octets attribute;
    EssMatch v1;
    EssMatch v2;
  } cases[] = {
      {"none", none, EssMatch::Absent, EssMatch::Absent},
      {"v1", v1(sha1), EssMatch::Names, EssMatch::Absent},
      {"v1 of SHA-256", v1(sha256), EssMatch::NamesAnother, EssMatch::Absent},
      {"v2", v2(none, sha256), EssMatch::Absent, EssMatch::Names},
      {"v2 of SHA-512", v2(DigestIdentifier("SHA512"), sha512), EssMatch::Absent, EssMatch::Names},
      {"v2 of SHA-1", v2(DigestIdentifier("SHA1"), sha1), EssMatch::Absent, EssMatch::Names},
      {"v2 of another", v2(none, Octets(32, 1)), EssMatch::Absent, EssMatch::NamesAnother},
      {"v2 that is cut", v2(none, Octets(sha256.begin(), sha256.end() - 1)), EssMatch::Absent,
       EssMatch::NamesAnother},
      {"v2 of an unknown digest", v2(der::algorithm("1.2.3.4"), sha256), EssMatch::Absent,
       EssMatch::Unreadable},
      {"issuer and serial", v2(none, sha256, issuer_serial(root_name(), 17)), EssMatch::Absent,
       EssMatch::Names},
      {"another serial", v2(none, sha256, issuer_serial(root_name(), 18)), EssMatch::Absent,
       EssMatch::NamesAnother},
      {"another issuer", v2(none, sha256, issuer_serial(root_name("Other"), 17)), EssMatch::Absent,
       EssMatch::NamesAnother},
      {"issuer of another form",
       v2(none, sha256,
          der::sequence(der::sequence(der::context_primitive(2, der::octets("a.example"))),
                        der::integer(17))),
       EssMatch::Absent, EssMatch::NamesAnother},
      {"several issuers",
       v2(none, sha256,
          der::sequence(der::sequence(der::context(4, root_name()), der::context(4, root_name("Other"))),
                        der::integer(17))),
       EssMatch::Absent, EssMatch::NamesAnother},
      {"more than is known", v2(none, sha256, der::null()), EssMatch::Absent, EssMatch::Unreadable},
      {"nothing in it", Attribute(kSigningCertificateV2Attribute, {SigningCertificate({})}), EssMatch::Absent,
       EssMatch::Unreadable},
      {"no value", Attribute(kSigningCertificateV2Attribute, {}), EssMatch::Absent, EssMatch::Unreadable},
      {"another type", Attribute(kSigningCertificateV2Attribute, {der::integer(1)}), EssMatch::Absent,
       EssMatch::Unreadable},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    plan.signing_certificate = one.attribute;
    const auto reading = Read(plan.encode());
    EXPECT_EQ(reading.essV1, one.v1);
    EXPECT_EQ(reading.essV2, one.v2);
    ASSERT_TRUE(reading.signer);
    EXPECT_EQ(reading.signature.result, SignatureResult::Valid);
  }
}

TEST_F(StrictSigner, OfSeveralTheOneThatTheAttributeNamesCounts) {
  CertificatePlan twin;
  twin.issuer = &root;
  twin.key = "ec:P-256/twin";  // of the same issuer and serial number
  const Octets other = Make(twin).der();
  for (const bool first : {true, false}) {
    plan.certificates = {first ? other : signer.der(), first ? signer.der() : other};
    const auto reading = Read(plan.encode());
    ASSERT_TRUE(reading.signer);
    EXPECT_EQ(reading.signer->der, signer.der());
    EXPECT_EQ(reading.essV2, EssMatch::Names);
    EXPECT_EQ(reading.signature.result, SignatureResult::Valid);
  }
}

TEST_F(StrictSigner, OneThatFitsTheIdentifierAloneIsReported) {
  CertificatePlan twin;
  twin.issuer = &root;
  twin.key = "ec:P-256/twin";
  plan.certificates = {Make(twin).der()};
  const auto reading = Read(plan.encode());
  ASSERT_TRUE(reading.signer);
  EXPECT_EQ(reading.essV2, EssMatch::NamesAnother);
  EXPECT_EQ(reading.signature.result, SignatureResult::Invalid);
}

TEST_F(StrictSigner, TheCertificateMayComeFromTheCaller) {
  plan.certificates = std::vector<Octets>{};
  tool::Trust trust;
  trust.untrusted = {Item(signer.der())};
  auto reading = Read(plan.encode(), trust);
  EXPECT_EQ(reading.signature.result, SignatureResult::Valid);
  EXPECT_FALSE(reading.signerIsPinned);
  trust.untrusted.clear();
  trust.signers = {Item(root.der()), Item(signer.der())};
  reading = Read(plan.encode(), trust);
  EXPECT_EQ(reading.signature.result, SignatureResult::Valid);
  EXPECT_TRUE(reading.signerIsPinned);
}

TEST_F(StrictSigner, OnlyTheVeryCertificateIsPinned) {
  CertificatePlan renewed;  // of the same key, name and number
  renewed.issuer = &root;
  renewed.until = kGenTime + kYear;
  renewed.extensions = SignerExtensions();
  tool::Trust trust;
  trust.signers = {Item(Make(renewed).der())};
  EXPECT_FALSE(Read(plan.encode(), trust).signerIsPinned);
  trust.signers.push_back(Item(signer.der()));
  EXPECT_TRUE(Read(plan.encode(), trust).signerIsPinned);
}

TEST_F(StrictSigner, AKeyIdentifierNamesItToo) {
  CertificatePlan named;
  named.issuer = &root;
  named.extensions = SignerExtensions();
  named.extensions.emplace_back("subjectKeyIdentifier", "01020304");
  plan = TokenPlan(Make(named));
  plan.identifier = der::context_primitive(0, Octets{1, 2, 3, 4});
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Valid);
  plan.identifier = der::context_primitive(0, Octets{1, 2, 3, 5});
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::NoCertificate);
}

TEST_F(StrictSigner, ItsCertificateIsDescribed) {
  CertificatePlan named;
  named.organization = "Maker";
  named.issuer = &root;
  const Certificate certificate = Make(named);
  const auto described = *Read(TokenPlan(certificate).encode()).signer;
  EXPECT_EQ(described.der, certificate.der());
  EXPECT_EQ(described.sha256, Hash("SHA256", certificate.der()));
  EXPECT_EQ(described.subject, "O=Maker, CN=Example TSA");
}

TEST_F(StrictSigner, KeysAreNamed) {
  const struct {
    const char* key;
    const char* type;
    const char* name;
    uint64_t bits;
  } cases[] = {
      {"rsa:2048", "rsa", "rsa 2048", 2048},     {"rsa-pss:2048", "rsa-pss", "rsa-pss 2048", 2048},
      {"dsa:2048:256", "dsa", "dsa 2048", 2048}, {"ec:P-256", "ec", "ec P-256", 256},
      {"ec:P-521", "ec", "ec P-521", 521},       {"ec:brainpoolP256r1", "ec", "ec brainpoolP256r1", 256},
      {"ed25519", "ed25519", "ed25519", 256},  // RFC 8032: 32 and 57 octets
      {"ed448", "ed448", "ed448", 456}};
  for (const auto& one : cases) {
    CertificatePlan keyed;
    keyed.key = one.key;
    keyed.issuer = &root;
    const auto key = tool::KeyOf(Make(keyed).der());
    EXPECT_EQ(key.type, one.type);
    EXPECT_EQ(key.name, one.name);
    EXPECT_EQ(key.bits, one.bits) << one.key;
    EXPECT_EQ(key.exponent, one.type[0] == 'r' ? (Octets{1, 0, 1}) : Octets{}) << one.key;
    EXPECT_FALSE(key.lowExponent);
    EXPECT_EQ(key.excess, "");
  }
  for (const auto& [kind, low] :
       {std::pair{"rsa:1024:3", true}, {"rsa:1024:65535", true}, {"rsa:1024:65539", false}}) {
    CertificatePlan keyed;
    keyed.key = kind;
    keyed.issuer = &root;
    EXPECT_EQ(tool::KeyOf(Make(keyed).der()).lowExponent, low) << kind;
  }
  EXPECT_EQ(tool::KeyOf(Octets{0x30, 0x00}).type, "");
  EXPECT_TRUE(tool::KeyOf(Octets{0x30, 0x00}).lowExponent);
}

TEST_F(StrictSigner, TimeStampingMustBeItsOnlyPurpose) {
  const auto usage = [](const char* value) { return std::pair<std::string, std::string>("keyUsage", value); };
  const auto purpose = [](const char* value) {
    return std::pair<std::string, std::string>("extendedKeyUsage", value);
  };
  const struct {
    Extensions extensions;
    bool good;
    const char* words;
  } cases[] = {
      {{purpose("critical,timeStamping")}, true, "time-stamping alone, critical"},
      {{purpose("critical,timeStamping"), usage("critical,nonRepudiation")}, true, ""},
      {{purpose("critical,timeStamping"), usage("digitalSignature,nonRepudiation")}, true, ""},
      {{}, false, "no extended key usage"},
      {{purpose("timeStamping")}, false, "time-stamping is not marked critical"},
      {{purpose("critical,timeStamping,codeSigning")},
       false,
       "other purposes beside time-stamping: codeSigning"},
      {{purpose("critical,timeStamping,1.2.3.4")}, false, "other purposes beside time-stamping: 1.2.3.4"},
      {{purpose("critical,timeStamping,anyExtendedKeyUsage")}, false, "other purposes"},
      {{purpose("critical,codeSigning")}, false, "codeSigning"},
      {{purpose("critical,timeStamping"), usage("critical,keyEncipherment")}, false, "key usage lacks"},
      {{purpose("critical,timeStamping"), usage("critical,digitalSignature,keyEncipherment")},
       false,
       "key usage"},
      {{purpose("critical,timeStamping"), usage("critical,digitalSignature,keyCertSign")},
       false,
       "key usage"},
      {{purpose("critical,DER:0500")}, false, "extension"},
  };
  for (const auto& one : cases) {
    CertificatePlan purposed;
    purposed.issuer = &root;
    purposed.extensions = one.extensions;
    const auto judgement = *Read(TokenPlan(Make(purposed)).encode()).keyUsage;
    EXPECT_EQ(judgement.good, one.good) << judgement.text;
    EXPECT_NE(judgement.text.find(one.words), std::string::npos) << judgement.text << " / " << one.words;
  }
}

TEST_F(StrictSigner, ARootMaySignTokensAndCertificates) {
  CertificatePlan lone;
  lone.extensions = {{"basicConstraints", "critical,CA:TRUE"},
                     {"keyUsage", "critical,digitalSignature,keyCertSign,cRLSign"},
                     {"extendedKeyUsage", "critical,timeStamping"}};
  EXPECT_TRUE(Read(TokenPlan(Make(lone)).encode()).keyUsage->good);
}

TEST_F(StrictSigner, DatesAreJudgedAtTheTimeAskedForAndNow) {
  CertificatePlan dated;
  dated.issuer = &root;
  const auto validity = [&](int64_t from, int64_t until) {
    dated.from = from;
    dated.until = until;
    return *Read(TokenPlan(Make(dated)).encode()).validity;
  };
  EXPECT_EQ(validity(kGenTime, kGenTime + 20 * kYear).result, ValidityResult::Valid);
  EXPECT_EQ(validity(kGenTime + 1, kGenTime + 20 * kYear).result, ValidityResult::NotYet);
  EXPECT_EQ(validity(kGenTime - kYear, kGenTime).result, ValidityResult::Valid);
  EXPECT_EQ(validity(kGenTime - kYear, kGenTime - 1).result, ValidityResult::Expired);
  EXPECT_TRUE(validity(kGenTime - kYear, kGenTime).expiredNow);
  EXPECT_FALSE(validity(kGenTime, kGenTime + 20 * kYear).expiredNow);
  EXPECT_EQ(validity(kGenTime, kGenTime + kDay).notBefore, "2024-11-15T08:00:00Z");
  EXPECT_EQ(validity(kGenTime, kGenTime + kDay).notAfter, "2024-11-16T08:00:00Z");
}

TEST_F(StrictSigner, ATokenOlderThanTheCertificateIsSeenWheneverItIsJudged) {
  CertificatePlan young;
  young.issuer = &root;
  tool::Trust trust;
  trust.time = tool::TrustTime::Given;
  trust.givenTime = kGenTime + kDay;
  const auto validity = [&](int64_t from) {
    young.from = from;
    return *tool::ReadStrictly(TokenPlan(Make(young)).encode(), trust).validity;
  };
  EXPECT_EQ(validity(kGenTime + 1).result, ValidityResult::Valid);
  EXPECT_TRUE(validity(kGenTime + 1).stampedBefore);
  EXPECT_FALSE(validity(kGenTime).stampedBefore);
}

TEST_F(StrictSigner, TheUsagePeriodOfThePrivateKeyEndsWithItsLastSecond) {
  CertificatePlan periodic;
  periodic.issuer = &root;
  const auto ended = [&](const char* period) {
    periodic.extensions = {{"privateKeyUsagePeriod", period}};
    return Read(TokenPlan(Make(periodic)).encode()).validity->keyPeriodEnded;
  };
  // SEQUENCE { notAfter [1] GeneralizedTime }
  EXPECT_TRUE(ended("DER:3011810f32303234313131353037353935395a"));
  EXPECT_FALSE(ended("DER:3011810f32303234313131353038303030305a"));
  EXPECT_FALSE(ended("DER:3011800f32303234313131353037353935395a"));
}

TEST_F(StrictSigner, ExtensionsAreDescribedOnALineEach) {
  CertificatePlan described;
  described.issuer = &root;
  described.extensions = {{"extendedKeyUsage", "critical,timeStamping"},
                          {"crlDistributionPoints", "URI:http://a.example/,URI:http://b.example/"},
                          {"1.2.3.4", "DER:0403010203"}};
  const auto texts = tool::DescribeExtensions(Make(described).der());
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(texts[0].name, "extKeyUsage (2.5.29.37)");
  EXPECT_TRUE(texts[0].critical);
  EXPECT_EQ(texts[0].value, "Time Stamping");
  EXPECT_FALSE(texts[1].critical);
  EXPECT_NE(texts[1].value.find("http://b.example/"), std::string::npos);
  EXPECT_EQ(texts[1].value.find('\n'), std::string::npos);
  EXPECT_EQ(texts[2].name, "1.2.3.4");
  EXPECT_EQ(texts[2].value, "0403010203");
  EXPECT_TRUE(tool::DescribeExtensions(Octets{0x30, 0x00}).empty());
}

TEST_F(StrictSigner, TrustedCertificatesMustBeReadable) {
  const Octets good = signer.der();
  const auto refused = [](tool::Trust& trust, std::vector<tool::TrustItem>& items, const Octets& octets) {
    items = {{"first.pem", octets}};
    try {
      tool::CheckTrust(trust);
    } catch (const tool::Failure& failure) {
      EXPECT_EQ(failure.exit, tool::ExitStatus::Input);
      EXPECT_NE(failure.message.find("first.pem"), std::string::npos) << failure.message;
      EXPECT_FALSE(failure.hint.empty());
      items.clear();
      return true;
    }
    items.clear();
    return false;
  };
  tool::Trust trust;
  for (auto* items : {&trust.signers, &trust.roots, &trust.untrusted}) {
    EXPECT_FALSE(refused(trust, *items, good));
    EXPECT_TRUE(refused(trust, *items, der::concat(good, Octets{0})));
    EXPECT_TRUE(refused(trust, *items, {}));
    EXPECT_TRUE(refused(trust, *items, MakeList({&root, {}, kGenTime, kGenTime + kDay, nullptr, {}, false})));
  }
  EXPECT_TRUE(refused(trust, trust.crls, good));
  EXPECT_FALSE(
      refused(trust, trust.crls, MakeList({&root, {}, kGenTime, kGenTime + kDay, nullptr, {}, false})));
  EXPECT_FALSE(refused(trust, trust.systemRoots, {0x30}));
}

}  // namespace
}  // namespace qex::test
