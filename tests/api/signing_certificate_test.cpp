// The signing-certificate attribute in both versions, and the switch between them.
#include "api/signing_certificate.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "api/token.h"
#include "tests/support/big.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

const Verdict kVerifies{QEX_OK, 0};
const Verdict kNoCertificate{QEX_E_NOCERT, 100};

Octets sha1_name(const Octets& certificate) {
  return EssCertId(Digest(kSha1, certificate));
}

Octets sha2_name(const char* algorithm, const Octets& certificate) {
  return EssCertIdV2(der::algorithm(algorithm), Digest(algorithm, certificate));
}

// naming makes a token with these identifiers in the attributes; a version without identifiers is absent.
Octets naming(const std::vector<Octets>& first, const std::vector<Octets>& second) {
  TokenMaker maker;
  maker.signer().without = {kSigningCertificateAttribute};
  if (!first.empty()) {
    maker.signer().extra.push_back(Attribute(kSigningCertificateAttribute, {SigningCertificate(first)}));
  }
  if (!second.empty()) {
    maker.signer().extra.push_back(Attribute(kSigningCertificateV2Attribute, {SigningCertificate(second)}));
  }
  return maker.encode();
}

// --- The switch ------------------------------------------------------------------------

TEST(EssSwitch, IsOnForExactly1) {
  InFreshProcess("1", [] { EXPECT_EQ(UseEssCertIdV2(), 1u); });
}

TEST(EssSwitch, IsOffForAnyOtherValue) {
  InFreshProcess("0", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("01", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("1 ", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess(" 1", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("11", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("true", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess(nullptr, [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
}

// Deliberate: read once in the life of the process.
TEST(EssSwitch, IsReadOnce) {
  InFreshProcess("1", [] {
    EXPECT_EQ(UseEssCertIdV2(), 1u);
    setenv("QEX_VERIFY_ESSCERTIDV2", "0", 1);
    EXPECT_EQ(UseEssCertIdV2(), 1u);
    unsetenv("QEX_VERIFY_ESSCERTIDV2");
    EXPECT_EQ(UseEssCertIdV2(), 1u);
  });
  InFreshProcess(nullptr, [] {
    EXPECT_EQ(UseEssCertIdV2(), 0u);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(UseEssCertIdV2(), 0u);
  });
}

TEST(EssSwitch, IsReadByTheFirstCheckAndNotBefore) {
  InFreshProcess(nullptr, [] {
    // A token that is refused before any certificate is looked for leaves the switch unread.
    TokenMaker maker;
    maker.signers.clear();
    EXPECT_EQ(Verify(maker.encode()), QEX_E_BADTOKEN);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(Verify(naming({}, {sha2_name(kSha256, AuthorityCertificate())})), QEX_OK);
  });
}

TEST(EssSwitch, IsNotReadForATokenWithoutCertificates) {
  // The search read the switch before it knew whether there was a certificate to check.
  InFreshProcess(nullptr, [] {
    TokenMaker maker;
    maker.certificates.clear();
    EXPECT_EQ(Verify(maker.encode()), QEX_E_NOCERT);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(Verify(naming({}, {sha2_name(kSha256, AuthorityCertificate())})), QEX_OK);
  });
}

// --- The second version ------------------------------------------------------------------

TEST(EssCertIdV2, AnySha2DigestNamesTheCertificate) {
  InFreshProcess("1", [] {
    for (const char* digest : {kSha256, kSha384, kSha512}) {
      const Octets token = naming({}, {sha2_name(digest, AuthorityCertificate())});
      EXPECT_EQ(VerdictOn(token), kVerifies) << digest;
      EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), kVerifies) << digest;
      EXPECT_EQ(Fetch(TsaCert(token)).octets, AuthorityCertificate()) << digest;
    }
  });
}

TEST(EssCertIdV2, Sha1AndMd5NeverMatch) {
  InFreshProcess("1", [] {
    for (const char* digest : {kSha1, kMd5}) {
      const Octets token = naming({}, {sha2_name(digest, AuthorityCertificate())});
      EXPECT_EQ(VerdictOn(token), kNoCertificate) << digest;
      EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0})) << digest;
    }
  });
}

TEST(EssCertIdV2, ParametersOfTheAlgorithmDoNotMatter) {
  InFreshProcess("1", [] {
    const Octets hash = Digest(kSha256, AuthorityCertificate());
    EXPECT_EQ(VerdictOn(naming({}, {EssCertIdV2(der::algorithm(kSha256, der::null()), hash)})), kVerifies);
  });
}

TEST(EssCertIdV2, AbsentAlgorithmIsSha256) {
  InFreshProcess("1", [] {
    const Octets token = naming({}, {EssCertIdV2({}, Digest(kSha256, AuthorityCertificate()))});
    EXPECT_EQ(VerdictOn(token), kVerifies);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), kVerifies);
    for (const char* other : {kSha1, kSha384, kSha512}) {
      EXPECT_EQ(VerdictOn(naming({}, {EssCertIdV2({}, Digest(other, AuthorityCertificate()))})),
                kNoCertificate)
          << other;
    }
  });
}

TEST(EssCertIdV2, HashUnderAnotherAlgorithmDoesNotMatch) {
  InFreshProcess("1", [] {
    const Octets token =
        naming({}, {EssCertIdV2(der::algorithm(kSha384), Digest(kSha256, AuthorityCertificate()))});
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, OtherCertificateDoesNotMatch) {
  InFreshProcess("1", [] {
    const Octets token = naming({}, {sha2_name(kSha256, OtherCertificate())});
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, CertificateNamedOnlySecondIsAMismatch) {
  InFreshProcess("1", [] {
    const Octets token =
        naming({}, {sha2_name(kSha256, OtherCertificate()), sha2_name(kSha256, AuthorityCertificate())});
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, FirstVersionAloneCountsAsNone) {
  InFreshProcess("1", [] {
    const Octets token = TokenMaker().encode();
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
    EXPECT_EQ(AskLength(TsaCert(token), kUnset),
              (Output{QEX_E_NOCERT, uint32_t(AuthorityCertificate().size()), {}}));
  });
}

TEST(EssCertIdV2, OfBothVersionsTheOneSwitchedToCounts) {
  const auto second_right = [] {
    return naming({sha1_name(OtherCertificate())}, {sha2_name(kSha256, AuthorityCertificate())});
  };
  const auto first_right = [] {
    return naming({sha1_name(AuthorityCertificate())}, {sha2_name(kSha256, OtherCertificate())});
  };
  InFreshProcess("1", [&] {
    EXPECT_EQ(VerdictOn(second_right()), kVerifies);
    EXPECT_EQ(VerdictOn(first_right()), kNoCertificate);
  });
  InFreshProcess(nullptr, [&] {
    EXPECT_EQ(VerdictOn(second_right()), kNoCertificate);
    EXPECT_EQ(VerdictOn(first_right()), kVerifies);
  });
}

TEST(EssCertIdV2, AttributeWithoutAnIdentifierCountsAsNone) {
  InFreshProcess("1", [] {
    for (const Octets& attribute : {Attribute(kSigningCertificateV2Attribute, {}),
                                    Attribute(kSigningCertificateV2Attribute, {SigningCertificate({})})}) {
      TokenMaker maker;
      maker.signer().extra = {attribute};
      EXPECT_EQ(VerdictOn(maker.encode()), kNoCertificate);
      EXPECT_EQ(VerdictOn(maker.encode(), AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
    }
  });
}

// --- The routines below the exports ---------------------------------------------------------

// check decodes a token and looks for `certificate` in its attribute.
int32_t check(const Octets& token, const Octets& certificate, bool first_only) {
  EXPECT_TRUE(EnsureAsnInit());
  const Guarded input(token);
  DecodedToken decoded;
  EXPECT_TRUE(DecodeToken(input.data(), input.size(), &decoded));
  const Guarded octets(certificate);
  ExpBuf buffer;
  ExpBufWrapData(&buffer, octets.data(), octets.size());
  return CheckSigningCertificate(decoded.value, &buffer, first_only);
}

TEST(CheckSigningCertificate, LooksAtTheFirstIdentifierOrAtTheOthers) {
  const Octets a = der::octets("a"), b = der::octets("b"), c = der::octets("c"), d = der::octets("d");
  const Octets token = naming({sha1_name(a), sha1_name(b), sha1_name(c)}, {});
  EXPECT_EQ(check(token, a, true), QEX_OK);
  EXPECT_EQ(check(token, b, true), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, c, true), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, a, false), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, b, false), QEX_OK);
  EXPECT_EQ(check(token, c, false), QEX_OK);
  EXPECT_EQ(check(token, d, true), QEX_E_MISMATCH);
  EXPECT_EQ(check(token, d, false), QEX_E_MISMATCH);
}

TEST(CheckSigningCertificate, OneIdentifierIsNoSecondOne) {
  const Octets a = der::octets("a");
  EXPECT_EQ(check(naming({sha1_name(a)}, {}), a, false), QEX_E_MISMATCH);
  EXPECT_EQ(check(naming({sha1_name(a), sha1_name(a)}, {}), a, false), QEX_OK);
}

TEST(CheckSigningCertificate, WithoutSignerAttributesOrIdentifierItIsADecodeFailure) {
  const Octets a = der::octets("a");
  for (const bool first_only : {true, false}) {
    EXPECT_EQ(check(der::sequence(der::oid(kSignedData)), a, first_only), QEX_E_DECODE);
    TokenMaker no_signer;
    no_signer.signers.clear();
    EXPECT_EQ(check(no_signer.encode(), a, first_only), QEX_E_DECODE);
    TokenMaker no_attributes;
    no_attributes.signer().signed_attributes = Octets{};
    EXPECT_EQ(check(no_attributes.encode(), a, first_only), QEX_E_DECODE);
    TokenMaker empty_attributes;
    empty_attributes.signer().signed_attributes = der::context(0);
    EXPECT_EQ(check(empty_attributes.encode(), a, first_only), QEX_E_DECODE);
    EXPECT_EQ(check(naming({}, {}), a, first_only), QEX_E_DECODE);
    EXPECT_EQ(check(naming({}, {sha2_name(kSha256, a)}), a, first_only), QEX_E_DECODE);
  }
}

TEST(CheckSigningCertificate, SecondVersionLooksAtTheFirstIdentifierOrAtTheOthers) {
  InFreshProcess("1", [] {
    const Octets a = der::octets("a"), b = der::octets("b"), c = der::octets("c");
    const Octets token = naming({}, {sha2_name(kSha256, a), sha2_name(kSha384, b), sha2_name(kSha1, c)});
    EXPECT_EQ(check(token, a, true), QEX_OK);
    EXPECT_EQ(check(token, b, true), QEX_E_MISMATCH);
    EXPECT_EQ(check(token, a, false), QEX_E_MISMATCH);
    EXPECT_EQ(check(token, b, false), QEX_OK);
    EXPECT_EQ(check(token, c, false), QEX_E_MISMATCH);
  });
}

// Identifier is the hash of an identifier and its algorithm; no algorithm is the default of the second
// version.
struct Identifier {
  std::string algorithm;
  Octets hash;
};

Octets token_naming(const std::vector<Identifier>& identifiers, bool v2) {
  std::vector<Octets> encoded;
  for (const Identifier& id : identifiers) {
    const Octets algorithm = id.algorithm.empty() ? Octets{} : der::algorithm(id.algorithm);
    encoded.push_back(v2 ? EssCertIdV2(algorithm, id.hash) : EssCertId(id.hash));
  }
  return v2 ? naming({}, encoded) : naming(encoded, {});
}

// named_later compares one by one: it tells whether an identifier behind the first is that of `certificate`.
bool named_later(const std::vector<Identifier>& identifiers, bool v2, const Octets& certificate) {
  for (size_t i = 1; i < identifiers.size(); ++i) {
    const std::string algorithm = !v2                                ? kSha1
                                  : identifiers[i].algorithm.empty() ? kSha256
                                                                     : identifiers[i].algorithm;
    if (v2 && algorithm != kSha256 && algorithm != kSha384 && algorithm != kSha512) continue;
    if (Digest(algorithm, certificate) == identifiers[i].hash) return true;
  }
  return false;
}

// generated_identifier is that of one of `certificates`, or one that misses it by little.
Identifier generated_identifier(Random& random, bool v2, const std::vector<Octets>& certificates) {
  static const std::string algorithms[] = {kSha256, kSha384, kSha512, "", kSha1, kMd5, "1.2.3"};
  const std::string label = v2 ? algorithms[random() % std::size(algorithms)] : kSha1;
  const std::string digest = random() % 8 == 0 ? kSha384 : label.empty() ? kSha256 : label;
  Octets hash = Digest(digest, certificates[random() % certificates.size()]);
  if (hash.empty()) return {label, hash};
  switch (random() % 8) {
    case 0: hash.back() ^= 1; break;
    case 1: hash.front() ^= 0x80; break;
    case 2: hash.pop_back(); break;
    case 3: hash.push_back(0); break;
    case 4: hash.clear(); break;
    default: break;
  }
  return {label, hash};
}

void expect_what_one_by_one_finds(bool v2) {
  ASSERT_TRUE(EnsureAsnInit());
  Random random(v2 ? 2 : 1);
  std::vector<Octets> certificates;
  for (uint8_t i = 0; i < 40; ++i) certificates.push_back(Octets(1 + i % 7, i));
  size_t named = 0, others = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<Identifier> identifiers;
    for (size_t n = 1 + random() % 40; n > 0; --n) {
      identifiers.push_back(generated_identifier(random, v2, certificates));
    }
    const Octets token = token_naming(identifiers, v2);
    DecodedToken decoded;
    ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
    SigningCertificateIds ids(decoded.value);
    for (const Octets& certificate : certificates) {
      ExpBuf buffer;
      ExpBufWrapData(&buffer, certificate.data(), certificate.size());
      const int32_t expected =
          named_later(identifiers, v2, certificate) ? int32_t{QEX_OK} : int32_t{QEX_E_MISMATCH};
      ASSERT_EQ(ids.FindAmongOthers(&buffer), expected) << "round " << round;
      ASSERT_EQ(ids.Check(&buffer, false), expected) << "round " << round;
      ++(expected == QEX_OK ? named : others);
    }
  }
  EXPECT_GT(named, 100u);
  EXPECT_GT(others, 100u);
}

TEST(FindAmongOthers, FindsWhatComparingOneByOneFinds) {
  InFreshProcess("0", [] { expect_what_one_by_one_finds(false); });
  InFreshProcess("1", [] { expect_what_one_by_one_finds(true); });
}

TEST(FindAmongOthers, WithoutAnIdentifierIsADecodeFailure) {
  ASSERT_TRUE(EnsureAsnInit());
  const Octets a = der::octets("a"), token = naming({}, {});
  DecodedToken decoded;
  ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
  ExpBuf buffer;
  ExpBufWrapData(&buffer, a.data(), a.size());
  EXPECT_EQ(SigningCertificateIds(decoded.value).FindAmongOthers(&buffer), QEX_E_DECODE);
}

TEST(FindAmongOthers, AloneNeedsMemoryAndSaysSo) {
  ASSERT_TRUE(EnsureAsnInit());
  const Octets a = der::octets("a"), b = der::octets("b"), token = naming({sha1_name(a), sha1_name(b)}, {});
  DecodedToken decoded;
  ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
  ExpBuf first, second;
  ExpBufWrapData(&first, a.data(), a.size());
  ExpBufWrapData(&second, b.data(), b.size());
  const long before = LiveBlocks();
  {
    SigningCertificateIds ids(decoded.value);
    {
      const FailingAlloc failing(0);
      EXPECT_EQ(ids.Check(&first, true), QEX_OK);
      EXPECT_EQ(ids.Check(&second, false), QEX_OK);
      EXPECT_EQ(CheckSigningCertificate(decoded.value, &second, false), QEX_OK);
      EXPECT_EQ(failing.refused(), 0u);
      EXPECT_EQ(ids.FindAmongOthers(&second), QEX_E_NOMEM);
      EXPECT_EQ(ids.FindAmongOthers(&second), QEX_E_NOMEM);
    }
    EXPECT_EQ(ids.FindAmongOthers(&second), QEX_OK);
    EXPECT_EQ(ids.FindAmongOthers(&first), QEX_E_MISMATCH);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

// An AlgorithmIdentifier of these contents octets, without parameters.
AlgorithmIdentifier algorithm_of(const Octets& contents) {
  AlgorithmIdentifier algorithm{};
  algorithm.algorithm = {uint32_t(contents.size()), contents.data()};
  return algorithm;
}

TEST(MatchCertHashV2, TakesTheSha2DigestsAndTheirDefault) {
  const Octets data = der::octets("the certificate");
  ExpBuf buffer;
  ExpBufWrapData(&buffer, data.data(), data.size());
  for (const char* digest : {kSha256, kSha384, kSha512, kSha1, kMd5, "1.3.36.3.2.1", "1.2.3"}) {
    const Octets contents = der::oid_content(digest);
    const AlgorithmIdentifier algorithm = algorithm_of(contents);
    Octets hash = Digest(digest, data);
    const bool sha2 =
        digest == std::string(kSha256) || digest == std::string(kSha384) || digest == std::string(kSha512);
    EXPECT_EQ(MatchCertHashV2({uint32_t(hash.size()), hash.data()}, &buffer, &algorithm), sha2) << digest;
    EXPECT_EQ(MatchCertHashV2({uint32_t(hash.size()), hash.data()}, &buffer, nullptr),
              digest == std::string(kSha256))
        << digest;
  }
}

TEST(MatchCertHashV2, NoHashMatchesNoDigest) {
  const Octets data = der::octets("the certificate");
  ExpBuf buffer;
  ExpBufWrapData(&buffer, data.data(), data.size());
  const Octets unknown = der::oid_content("1.2.3");
  const AlgorithmIdentifier algorithm = algorithm_of(unknown);
  uint8_t nothing = 0;
  EXPECT_FALSE(MatchCertHashV2({0, &nothing}, &buffer, &algorithm))
      << "an unknown digest has no octets either";
}

}  // namespace
}  // namespace qex::test
