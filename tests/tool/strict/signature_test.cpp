// Signatures: every scheme verifies, every change is found, and a signature that cannot be tried is not
// called invalid.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tool/strict/tokens.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::SignatureResult;

struct Case {
  const char* key;
  const char* digest;     // of the content
  const char* signature;  // its identifier; empty: that of the key alone or its usual one
  const char* scheme;
  uint64_t bits;
  const char* signatureDigest = nullptr;  // null: that of the content
};

constexpr Case kSchemes[] = {
    {"rsa:2048", "SHA256", "", "rsa", 256},
    {"rsa:2048", "SHA256", "1.2.840.113549.1.1.11", "rsa", 256},
    {"rsa:2048", "SHA1", "1.2.840.113549.1.1.5", "rsa", 160},
    {"rsa:2048", "MD5", "1.2.840.113549.1.1.4", "rsa", 128},
    {"rsa:2048", "SHA224", "1.2.840.113549.1.1.14", "rsa", 224},
    {"rsa:2048", "SHA384", "1.2.840.113549.1.1.12", "rsa", 384},
    {"rsa:2048", "SHA512", "1.2.840.113549.1.1.13", "rsa", 512},
    {"rsa:2048", "SHA512-256", "", "rsa", 256},
    {"rsa:2048", "SHA3-256", "", "rsa", 256},
    {"rsa:2048", "SHA3-256", "2.16.840.1.101.3.4.3.14", "rsa", 256},
    {"rsa:2048", "SHA3-512", "2.16.840.1.101.3.4.3.16", "rsa", 512},
    // The digest of the content and that of the signature differ: the shorter one counts.
    {"rsa:2048", "SHA512", "1.2.840.113549.1.1.5", "rsa", 160, "SHA1"},
    {"rsa:2048", "SHA256", "1.2.840.113549.1.1.13", "rsa", 256, "SHA512"},
    {"ec:P-256", "SHA256", "", "ecdsa", 256},
    {"ec:P-256", "SHA256", "1.2.840.10045.2.1", "ecdsa", 256},
    {"ec:P-384", "SHA384", "1.2.840.10045.4.3.3", "ecdsa", 384},
    {"ec:P-521", "SHA512", "1.2.840.10045.4.3.4", "ecdsa", 512},
    {"ec:P-224", "SHA224", "1.2.840.10045.4.3.1", "ecdsa", 224},
    {"ec:brainpoolP256r1", "SHA256", "", "ecdsa", 256},
    {"ec:secp256k1", "SHA256", "", "ecdsa", 256},
    {"ec:P-256", "SHA3-256", "2.16.840.1.101.3.4.3.10", "ecdsa", 256},
    {"dsa:2048:256", "SHA256", "2.16.840.1.101.3.4.3.2", "dsa", 256},
    {"dsa:2048:256", "SHA256", "1.2.840.10040.4.1", "dsa", 256},
    {"dsa:1024:160", "SHA1", "1.2.840.10040.4.3", "dsa", 160},
    {"dsa:2048:224", "SHA224", "2.16.840.1.101.3.4.3.1", "dsa", 224},
    {"dsa:2048:256", "SHA384", "2.16.840.1.101.3.4.3.3", "dsa", 384},
    {"ed25519", "SHA512", "", "ed25519", 512, ""},
    {"ed25519", "SHA256", "", "ed25519", 256, ""},
    {"ed448", "SHA512", "", "ed448", 512, ""},
};

TokenPlan plan_of(const Case& one) {
  TokenPlan plan(MakeSigner(MakeRoot(), one.key));
  plan.digest = one.digest;
  plan.signature_algorithm = one.signature;
  if (one.signatureDigest != nullptr) plan.signature_digest = one.signatureDigest;
  return plan;
}

std::string name_of(const Case& one) {
  return std::string(one.key) + " " + one.digest + " " + one.signature;
}

TEST(StrictSignature, EverySchemeVerifies) {
  for (const Case& one : kSchemes) {
    SCOPED_TRACE(name_of(one));
    const auto signature = Read(plan_of(one).encode()).signature;
    EXPECT_EQ(signature.result, SignatureResult::Valid) << signature.reason;
    EXPECT_EQ(signature.reason, "");
    EXPECT_EQ(signature.scheme, one.scheme);
    EXPECT_EQ(signature.digestBits, one.bits) << signature.digest;
  }
}

TEST(StrictSignature, ASignatureOfOtherOctetsIsInvalid) {
  for (const Case& one : kSchemes) {
    SCOPED_TRACE(name_of(one));
    // The signature is the last element of the only signer.
    Octets token = plan_of(one).encode();
    token[token.size() - 5] ^= 1;
    EXPECT_EQ(Read(token).signature.result, SignatureResult::Invalid);
  }
}

TEST(StrictSignature, AnotherKeyIsInvalid) {
  const Certificate root = MakeRoot();
  for (const char* key : {"rsa:2048", "ec:P-256", "ed25519"}) {
    SCOPED_TRACE(key);
    TokenPlan plan(MakeSigner(root, std::string(key) + "/other"));
    if (std::string(key) == "ed25519") plan.signature_digest = "";
    plan.signing_certificate = Octets{};
    plan.certificates = {MakeSigner(root, key).der()};
    const auto reading = Read(plan.encode());
    EXPECT_EQ(reading.signature.result, SignatureResult::Invalid);
    EXPECT_NE(reading.signature.reason, "");
  }
}

TEST(StrictSignature, AChangedContentIsInvalid) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.message_digest = der::octet_string(Octets(32, 1));
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
  plan.message_digest = der::integer(1);
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
}

TEST(StrictSignature, AttributesInAnotherOrderThanThatOfDerVerifyUnsorted) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  const Octets content = plan.info.encode();
  plan.attributes = {Attribute(kMessageDigestAttribute, {der::octet_string(Hash("SHA256", content))}),
                     Attribute(kContentTypeAttribute, {der::oid(kTstInfo)})};
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Valid);
}

TEST(StrictSignature, AMissingMessageDigestIsInvalid) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.attributes = {Attribute(kContentTypeAttribute, {der::oid(kTstInfo)})};
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
}

TEST(StrictSignature, WithoutAttributesTheContentIsSigned) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.with_attributes = false;
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Valid);
  plan.signature = Octets(70, 1);
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
}

// RSASSA-PSS-params (RFC 4055, 3.1); an empty element means the default.
Octets pss_parameters(const std::string& hash, const std::string& mask, int64_t salt, int64_t trailer = 1) {
  const Octets mgf = der::algorithm("1.2.840.113549.1.1.8", DigestIdentifier(mask));
  return der::sequence(hash == "SHA1" ? Octets{} : der::context(0, DigestIdentifier(hash)),
                       mask == "SHA1" ? Octets{} : der::context(1, mgf),
                       salt == 20 ? Octets{} : der::context(2, der::integer(salt)),
                       trailer == 1 ? Octets{} : der::context(3, der::integer(trailer)));
}

TokenPlan pss_plan(const char* key, const char* hash, const char* mask, int salt) {
  TokenPlan plan(MakeSigner(MakeRoot(), key));
  plan.digest = hash;
  plan.signature_algorithm = "1.2.840.113549.1.1.10";
  plan.salt = salt;
  plan.mask = mask;
  plan.signature_parameters = pss_parameters(hash, mask, salt);
  return plan;
}

TEST(StrictSignature, PssTakesItsParameters) {
  const struct {
    const char* hash;
    const char* mask;
    int salt;
  } cases[] = {{"SHA256", "SHA256", 32}, {"SHA512", "SHA512", 64}, {"SHA256", "SHA1", 20},
               {"SHA1", "SHA1", 20},     {"SHA256", "SHA512", 0},  {"SHA384", "SHA384", 100}};
  for (const char* key : {"rsa:2048", "rsa-pss:2048"}) {
    for (const auto& one : cases) {
      const auto signature = Read(pss_plan(key, one.hash, one.mask, one.salt).encode()).signature;
      EXPECT_EQ(signature.result, SignatureResult::Valid) << key << one.hash << signature.reason;
      EXPECT_EQ(signature.scheme, "rsa-pss");
    }
  }
}

TEST(StrictSignature, PssWithOtherParametersThanSignedIsInvalid) {
  TokenPlan plan = pss_plan("rsa:2048", "SHA256", "SHA256", 32);
  for (const Octets& parameters :
       {pss_parameters("SHA256", "SHA256", 31), pss_parameters("SHA256", "SHA1", 32),
        pss_parameters("SHA384", "SHA256", 32), Octets{}, der::null(), pss_parameters("SHA256", "SHA256", -1),
        pss_parameters("SHA256", "SHA256", (int64_t{1} << 40) + 32)}) {
    plan.signature_parameters = parameters;
    EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
  }
}

TEST(StrictSignature, ANegativeSaltLengthDoesNotReadAsAbsent) {
  TokenPlan plan = pss_plan("rsa:2048", "SHA256", "SHA256", 0);
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Valid);
  plan.signature_parameters = pss_parameters("SHA256", "SHA256", -1);
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Invalid);
}

TEST(StrictSignature, PssWithUnknownPartsIsNotTried) {
  TokenPlan plan = pss_plan("rsa:2048", "SHA256", "SHA256", 32);
  const Octets unknown = der::algorithm("1.2.3.4");
  for (const Octets& parameters :
       {pss_parameters("SHA256", "SHA256", 32, 2), der::sequence(der::context(0, unknown)),
        der::sequence(der::context(1, unknown)),
        der::sequence(der::context(1, der::algorithm("1.2.840.113549.1.1.8", unknown)))}) {
    plan.signature_parameters = parameters;
    EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Unsupported);
  }
}

TEST(StrictSignature, UnknownAlgorithmsAreNamedAndNotTried) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.digest_algorithm = der::algorithm("1.2.643.7.1.1.2.2");  // GOST R 34.11-2012
  auto signature = Read(plan.encode()).signature;
  EXPECT_EQ(signature.result, SignatureResult::Unsupported);
  EXPECT_EQ(signature.digest, "1.2.643.7.1.1.2.2");
  EXPECT_NE(signature.reason.find("1.2.643.7.1.1.2.2"), std::string::npos);

  plan.digest_algorithm.reset();
  plan.signature_algorithm = "1.2.3.4.5";
  signature = Read(plan.encode()).signature;
  EXPECT_EQ(signature.result, SignatureResult::Unsupported);
  EXPECT_EQ(signature.scheme, "1.2.3.4.5");
  EXPECT_NE(signature.reason.find("1.2.3.4.5"), std::string::npos);
}

TEST(StrictSignature, ADigestIsNotASignatureAlgorithm) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.signature_algorithm = kSha256;
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Unsupported);
}

TEST(StrictSignature, ASchemeThatDoesNotFitTheKeyIsInvalid) {
  for (const auto& [key, algorithm] : {std::pair{"ec:P-256", kRsaEncryption},
                                       {"rsa:2048", "1.2.840.10045.4.3.2"},
                                       {"ec:P-256", "1.3.101.112"},
                                       {"rsa:2048", "2.16.840.1.101.3.4.3.2"}}) {
    TokenPlan plan(MakeSigner(MakeRoot(), key));
    plan.signature_algorithm = algorithm;
    const auto signature = Read(plan.encode()).signature;
    EXPECT_EQ(signature.result, SignatureResult::Invalid) << key << algorithm;
    EXPECT_NE(signature.reason.find("key"), std::string::npos) << signature.reason;
  }
}

TEST(StrictSignature, AlgorithmProtectionMustNameTheSameAlgorithms) {
  TokenPlan plan(MakeSigner(MakeRoot(), "rsa:2048"));
  plan.signature_algorithm = kSha256WithRsa;
  const auto result_with = [&](const Octets& digest, const Octets& signature) {
    plan.extra_attributes = {Attribute(kAlgorithmProtectionAttribute, {der::sequence(digest, signature)})};
    return Read(plan.encode()).signature.result;
  };
  const auto named = [](const char* signature, const Octets& parameters = {}) {
    return der::context(1, der::oid(signature), parameters);
  };
  const Octets sha256 = DigestIdentifier("SHA256");
  EXPECT_EQ(result_with(sha256, named(kSha256WithRsa)), SignatureResult::Valid);
  EXPECT_EQ(result_with(sha256, named(kSha256WithRsa, der::null())), SignatureResult::Valid);
  EXPECT_EQ(result_with(sha256, named(kSha512WithRsa)), SignatureResult::Invalid);
  EXPECT_EQ(result_with(sha256, named(kSha256WithRsa, der::integer(1))), SignatureResult::Invalid);
  EXPECT_EQ(result_with(DigestIdentifier("SHA1"), named(kSha256WithRsa)), SignatureResult::Invalid);
  EXPECT_EQ(result_with(sha256, {}), SignatureResult::Invalid);
  EXPECT_EQ(result_with({}, {}), SignatureResult::Invalid);
}

TEST(StrictSignature, WithoutACertificateThereIsNothingToTry) {
  TokenPlan plan(MakeSigner(MakeRoot()));
  plan.certificates = std::vector<Octets>{};
  const auto reading = Read(plan.encode());
  EXPECT_EQ(reading.signature.result, SignatureResult::NoCertificate);
  EXPECT_FALSE(reading.signer);
  EXPECT_FALSE(reading.keyUsage);
  EXPECT_FALSE(reading.validity);
  EXPECT_EQ(reading.essV2, tool::EssMatch::NamesAnother);
}

// The certificate with another public key. Its signature does not matter here.
Octets with_key(const Certificate& certificate, const Octets& algorithm, const Octets& key) {
  unsigned char* old = nullptr;
  const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate.x509.get()), &old);
  const Octets info(old, old + length);
  OPENSSL_free(old);
  Octets der = certificate.der();
  const auto at = std::search(der.begin(), der.end(), info.begin(), info.end());
  const Octets before(der.begin() + 4, at);  // after the header of the certificate
  const Octets rest(at + length, der.end());
  // The body ends where the signature algorithm begins; its own header is four octets too.
  const size_t body = size_t{der[6]} << 8 | der[7];
  const size_t inside = body - (before.size() - 4) - info.size();
  return der::sequence(
      der::sequence(Octets(before.begin() + 4, before.end()), der::sequence(algorithm, der::bit_string(key)),
                    Octets(rest.begin(), rest.begin() + ptrdiff_t(inside))),
      Octets(rest.begin() + ptrdiff_t(inside), rest.end()));
}

tool::StrictReading read_with_key(const Octets& algorithm, const Octets& key, size_t signatureOctets = 256) {
  TokenPlan plan(MakeSigner(MakeRoot(), "rsa:2048"));
  plan.signature = Octets(signatureOctets, 1);
  plan.signing_certificate = Octets{};
  plan.certificates = {with_key(plan.signer, algorithm, key)};
  return Read(plan.encode());
}

Octets rsa_key(size_t modulusOctets, size_t exponentOctets) {
  return der::sequence(der::unsigned_integer(Octets(modulusOctets, 0xFF)),
                       der::unsigned_integer(Octets(exponentOctets, 0xFF)));
}

TEST(StrictSignature, KeysThatAreTooLargeAreNotTried) {
  const Octets rsa = der::algorithm(kRsaEncryption, der::null());
  auto reading = read_with_key(rsa, rsa_key(1025, 3));
  EXPECT_EQ(reading.signature.result, SignatureResult::KeyTooLarge);
  EXPECT_EQ(reading.signer->key.excess, "a modulus of 8200 bits, more than 8192");
  reading = read_with_key(rsa, rsa_key(1024, 3), 1024);
  EXPECT_EQ(reading.signature.result, SignatureResult::Invalid);
  EXPECT_EQ(reading.signer->key.excess, "");
  reading = read_with_key(rsa, rsa_key(256, 33));
  EXPECT_EQ(reading.signature.result, SignatureResult::KeyTooLarge);
  EXPECT_EQ(reading.signer->key.excess, "a public exponent of 264 bits, more than 256");

  // Within the bounds, but libcrypto does not verify with it: more than 64 bits beyond a modulus of 3072.
  EXPECT_EQ(read_with_key(rsa, rsa_key(512, 32), 512).signature.result, SignatureResult::Unsupported);

  const auto dsa = [](size_t p, size_t q, size_t g, size_t y) {
    const auto number = [](size_t octets) { return der::unsigned_integer(Octets(octets, 0xFF)); };
    TokenPlan plan(MakeSigner(MakeRoot(), "rsa:2048"));
    plan.signature = der::sequence(der::integer(5), der::integer(6));
    plan.signature_algorithm = "2.16.840.1.101.3.4.3.2";
    plan.signing_certificate = Octets{};
    plan.certificates = {with_key(
        plan.signer, der::algorithm("1.2.840.10040.4.1", der::sequence(number(p), number(q), number(g))),
        number(y))};
    return Read(plan.encode());
  };
  EXPECT_EQ(dsa(1025, 32, 256, 256).signer->key.excess, "a prime p of 8200 bits, more than 8192");
  EXPECT_EQ(dsa(256, 65, 256, 256).signer->key.excess, "a prime q of 520 bits, more than 512");
  EXPECT_EQ(dsa(256, 32, 1025, 256).signer->key.excess, "a generator of 8200 bits, more than 8192");
  EXPECT_EQ(dsa(256, 32, 256, 1025).signer->key.excess, "a public value of 8200 bits, more than 8192");
  EXPECT_EQ(dsa(1025, 32, 256, 256).signature.result, SignatureResult::KeyTooLarge);
  EXPECT_EQ(dsa(256, 64, 256, 256).signature.result, SignatureResult::Unsupported);  // a q of 512 bits
}

TEST(StrictSignature, KeysOfUnknownKindsAreNotTried) {
  TokenPlan plan(MakeSigner(MakeRoot(), "rsa:2048"));
  plan.signing_certificate = Octets{};
  plan.certificates = {with_key(plan.signer, der::algorithm("1.2.643.7.1.1.1.1"), Octets(64, 1))};
  plan.signature_algorithm = "1.2.643.7.1.1.3.2";
  const auto reading = Read(plan.encode());
  EXPECT_EQ(reading.signature.result, SignatureResult::Unsupported);
  EXPECT_EQ(reading.signer->key.type, "1.2.643.7.1.1.1.1");
}

TEST(StrictSignature, KeysThatLackTheirParametersAreNotTried) {
  TokenPlan plan(MakeSigner(MakeRoot(), "rsa:2048"));
  plan.signing_certificate = Octets{};
  plan.signature_algorithm = "2.16.840.1.101.3.4.3.2";
  plan.certificates = {with_key(plan.signer, der::algorithm("1.2.840.10040.4.1"), der::integer(77))};
  EXPECT_EQ(Read(plan.encode()).signature.result, SignatureResult::Unsupported);
}

}  // namespace
}  // namespace qex::test
