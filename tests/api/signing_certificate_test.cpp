// The signing-certificate attribute in both versions, and the switch between them.
#include "api/signing_certificate.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/token.h"
#include "tests/support/exports.h"
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
